// The cipher on random keys, IVs and data against OpenSSL: its triple DES in ECB and CBC, and the
// two outer chainings computed here from OpenSSL's single-block triple DES.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/des.h>

#include "crypto/des.h"
#include "crypto_test_util.h"

namespace lumivex::crypto {
namespace {

using test::Hex;
using Bytes = std::vector<std::uint8_t>;

struct Oracle {
  Oracle(const Bytes& k1, const Bytes& k2, const Bytes& k3, Bytes initial)
      : iv(std::move(initial)) {
    const Bytes* keys[] = {&k1, &k2, &k3};
    for (int i = 0; i < 3; ++i) {
      DES_cblock key;
      std::copy_n(keys[i]->begin(), 8, key);
      DES_set_key_unchecked(&key, &ks[i]);
    }
  }
  // EDE of one block, written at out.
  void Block(const std::uint8_t* in, std::uint8_t* out, bool encipher) {
    DES_cblock block, result;
    std::copy_n(in, 8, block);
    DES_ecb3_encrypt(&block, &result, &ks[0], &ks[1], &ks[2], encipher ? DES_ENCRYPT : DES_DECRYPT);
    std::copy_n(result, 8, out);
  }
  Bytes Cbc(const Bytes& in, bool encipher) {
    Bytes out(in.size());
    DES_cblock chain;
    std::copy_n(iv.begin(), 8, chain);
    DES_ede3_cbc_encrypt(in.data(), out.data(), static_cast<long>(in.size()), &ks[0], &ks[1],
                         &ks[2], &chain, encipher ? DES_ENCRYPT : DES_DECRYPT);
    return out;
  }
  // Block by block with an outer value X starting at zero:
  //   ECB         E(I) / D(I)
  //   legacy      E(I ^ IV) ^ X, X = I        /  D(I ^ X) ^ IV, X = output
  //   chained CBC E(I ^ X ^ IV), X = output  /  D(I) ^ IV ^ X, X = I
  Bytes Chain(const Bytes& in, bool encipher, std::int32_t chaining) {
    Bytes out(in.size()), x(8, 0);
    const bool legacy = chaining == desLegacyChain, chained = chaining == desChainedCBC;
    for (std::size_t i = 0; i < in.size(); i += 8) {
      std::uint8_t b[8];
      for (int k = 0; k < 8; ++k) {
        b[k] = in[i + k] ^ (legacy ? (encipher ? iv[k] : x[k]) : 0) ^
               (chained && encipher ? x[k] ^ iv[k] : 0);
      }
      Block(b, &out[i], encipher);
      for (int k = 0; k < 8; ++k) {
        out[i + k] ^=
            (legacy ? (encipher ? x[k] : iv[k]) : 0) ^ (chained && !encipher ? iv[k] ^ x[k] : 0);
      }
      const bool fromInput = legacy == encipher;
      x.assign((fromInput ? in.begin() : out.begin()) + i,
               (fromInput ? in.begin() : out.begin()) + i + 8);
    }
    return out;
  }

  DES_key_schedule ks[3];
  Bytes iv;
};

// Also shows that the stored IV is not carried over: every call starts again from it.
TEST(DesOracle, EveryChainingAgreesWithOpenSsl) {
  std::mt19937 rng = test::SeededRng(20240611);
  for (int round = 0; round < 40; ++round) {
    const bool triple = round % 2 == 1;
    const Bytes k1 = test::RandomBytes(rng, 8), k2 = test::RandomBytes(rng, 8),
                k3 = test::RandomBytes(rng, 8), iv = test::RandomBytes(rng, 8);
    // Single DES is slot 1 alone: OpenSSL runs it as EDE with three equal keys.
    Oracle oracle(k1, triple ? k2 : k1, triple ? k3 : k1, iv);
    DES des;
    des.Keys(1, Hex(k1, true));
    des.Keys(2, Hex(k2, false));
    des.Keys(3, Hex(k3, false));
    des.InitVector(Hex(iv, true));
    const Bytes data = test::RandomBytes(rng, 8 * (1 + rng() % 24));
    for (const std::int32_t chaining : {desECB, desCBC, desLegacyChain, desChainedCBC}) {
      SCOPED_TRACE("round " + std::to_string(round) + " chaining " + std::to_string(chaining));
      const std::int32_t mode = (triple ? desTriple : desSingle) | chaining;
      for (const bool encipher : {true, false}) {
        const Bytes expected = chaining == desCBC ? oracle.Cbc(data, encipher)
                                                  : oracle.Chain(data, encipher, chaining);
        const std::string text = Hex(data, false);
        EXPECT_EQ(encipher ? des.Encrypt(text, mode) : des.Decrypt(text, mode),
                  Hex(expected, true));
      }
    }
  }
}

// Short last blocks: the legacy decipher pads after the XOR with X; the chained encipher
// completes the data with 00 bytes whatever the padding group.
TEST(DesOracle, ShortLastBlocks) {
  std::mt19937 rng = test::SeededRng(99);
  const Bytes key = test::RandomBytes(rng, 8), iv = test::RandomBytes(rng, 8);
  Oracle oracle(key, key, key, iv);
  DES des;
  des.Keys(1, Hex(key, false));
  des.InitVector(Hex(iv, false));
  Bytes data = test::RandomBytes(rng, 13);
  Bytes out = oracle.Chain(Bytes(data.begin(), data.begin() + 8), false, desLegacyChain);
  Bytes last(data.begin() + 8, data.end());
  for (std::size_t k = 0; k < 5; ++k) last[k] ^= out[k];
  last.resize(8, 0x20);
  last = oracle.Cbc(last, false);  // one block: D(B) ^ IV
  out.insert(out.end(), last.begin(), last.end());
  EXPECT_EQ(des.Decrypt(Hex(data, false), desSingle | desPadBlank | desLegacyChain),
            Hex(out, true));
  const std::string text = Hex(data, false);
  data.resize(16, 0x00);
  EXPECT_EQ(des.Encrypt(text, desSingle | desPadBlank | desChainedCBC),
            Hex(oracle.Chain(data, true, desChainedCBC), true));
}

}  // namespace
}  // namespace lumivex::crypto
