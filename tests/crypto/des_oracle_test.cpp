// The cipher on random keys, IVs and data against OpenSSL: its own triple DES in ECB and CBC, and
// the two outer chainings computed here from OpenSSL's single-block triple DES.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/des.h>

#include "crypto/des.h"
#include "crypto_test_util.h"

namespace lumivex::crypto {
namespace {

using test::Hex;
using Bytes = std::vector<std::uint8_t>;

class Oracle {
 public:
  Oracle(const Bytes& k1, const Bytes& k2, const Bytes& k3, Bytes iv) : iv_(std::move(iv)) {
    const Bytes* keys[] = {&k1, &k2, &k3};
    for (int i = 0; i < 3; ++i) {
      DES_cblock key;
      std::copy(keys[i]->begin(), keys[i]->end(), key);
      DES_set_key_unchecked(&key, &ks_[i]);
    }
  }

  Bytes Ecb(const Bytes& in, bool encipher) const {
    Bytes out(in.size());
    for (std::size_t i = 0; i < in.size(); i += 8) Block(&in[i], &out[i], encipher);
    return out;
  }
  Bytes Cbc(const Bytes& in, bool encipher) const {
    Bytes out(in.size());
    DES_cblock iv;
    std::copy(iv_.begin(), iv_.end(), iv);
    DES_ede3_cbc_encrypt(in.data(), out.data(), static_cast<long>(in.size()), &ks_[0], &ks_[1],
                         &ks_[2], &iv, encipher ? DES_ENCRYPT : DES_DECRYPT);
    return out;
  }
  // Decipher: Oi = D(Ii ^ X) ^ IV, X = Oi. Encipher: Oi = E(Ii ^ IV) ^ X, X = Ii.
  Bytes Legacy(const Bytes& in, bool encipher) const {
    Bytes out(in.size()), x(8, 0);
    for (std::size_t i = 0; i < in.size(); i += 8) {
      std::uint8_t b[8];
      for (int k = 0; k < 8; ++k) b[k] = in[i + k] ^ (encipher ? iv_[k] : x[k]);
      Block(b, &out[i], encipher);
      for (int k = 0; k < 8; ++k) out[i + k] ^= encipher ? x[k] : iv_[k];
      x.assign(encipher ? &in[i] : &out[i], (encipher ? &in[i] : &out[i]) + 8);
    }
    return out;
  }
  // Encipher: Ci = E(Pi ^ X ^ IV), X = Ci. Decipher: Pi = D(Ci) ^ IV ^ X, X = Ci.
  Bytes Chained(const Bytes& in, bool encipher) const {
    Bytes out(in.size()), x(8, 0);
    for (std::size_t i = 0; i < in.size(); i += 8) {
      std::uint8_t b[8];
      for (int k = 0; k < 8; ++k) b[k] = encipher ? in[i + k] ^ x[k] ^ iv_[k] : in[i + k];
      Block(b, &out[i], encipher);
      if (!encipher) {
        for (int k = 0; k < 8; ++k) out[i + k] ^= iv_[k] ^ x[k];
      }
      x.assign(encipher ? &out[i] : &in[i], (encipher ? &out[i] : &in[i]) + 8);
    }
    return out;
  }

 private:
  void Block(const std::uint8_t* in, std::uint8_t* out, bool encipher) const {
    DES_cblock block;
    std::copy(in, in + 8, block);
    DES_cblock result;
    DES_ecb3_encrypt(&block, &result, &ks_[0], &ks_[1], &ks_[2],
                     encipher ? DES_ENCRYPT : DES_DECRYPT);
    std::copy(result, result + 8, out);
  }

  mutable DES_key_schedule ks_[3];  // OpenSSL's calls take them non-const
  Bytes iv_;
};

TEST(DesOracle, EveryChainingAgreesWithOpenSsl) {
  std::mt19937 rng = test::SeededRng(20240611);
  using Reference = Bytes (Oracle::*)(const Bytes&, bool) const;
  const struct {
    std::int32_t chaining;
    Reference reference;
  } modes[] = {{desECB, &Oracle::Ecb},
               {desCBC, &Oracle::Cbc},
               {desLegacyChain, &Oracle::Legacy},
               {desChainedCBC, &Oracle::Chained}};
  for (int round = 0; round < 40; ++round) {
    const bool triple = round % 2 == 1;
    const Bytes k1 = test::RandomBytes(rng, 8), k2 = test::RandomBytes(rng, 8),
                k3 = test::RandomBytes(rng, 8), iv = test::RandomBytes(rng, 8);
    // Single DES is slot 1 alone: OpenSSL runs it as EDE with three equal keys.
    const Oracle oracle(k1, triple ? k2 : k1, triple ? k3 : k1, iv);
    DES des;
    des.Keys(1, Hex(k1, true));
    des.Keys(2, Hex(k2, false));
    des.Keys(3, Hex(k3, false));
    des.InitVector(Hex(iv, true));
    const Bytes data = test::RandomBytes(rng, 8 * (1 + rng() % 24));
    for (const auto& m : modes) {
      SCOPED_TRACE("round " + std::to_string(round) + " chaining " + std::to_string(m.chaining));
      const std::int32_t mode = (triple ? desTriple : desSingle) | m.chaining;
      const std::string cipher = des.Encrypt(Hex(data, false), mode);
      EXPECT_EQ(cipher, Hex((oracle.*m.reference)(data, true), true));
      EXPECT_EQ(des.Decrypt(Hex(data, false), mode), Hex((oracle.*m.reference)(data, false), true));
      std::string compact = cipher;
      std::erase(compact, ' ');
      EXPECT_EQ(des.Decrypt(compact, mode), Hex(data, true));
    }
  }
}

TEST(DesOracle, ChainedCbcWithZeroIvIsPlainCbc) {
  std::mt19937 rng = test::SeededRng(7);
  const Bytes k1 = test::RandomBytes(rng, 8), k2 = test::RandomBytes(rng, 8);
  const Bytes data = test::RandomBytes(rng, 64);
  const Oracle oracle(k1, k2, k1, Bytes(8, 0));
  DES des;
  des.Keys(1, Hex(k1, false));
  des.Keys(2, Hex(k2, false));
  des.Keys(3, Hex(k1, false));
  des.InitVector("00 00 00 00 00 00 00 00");
  EXPECT_EQ(des.Encrypt(Hex(data, false), desTriple | desChainedCBC),
            Hex(oracle.Cbc(data, true), true));
  EXPECT_EQ(des.Encrypt(Hex(data, false), desTriple | desCBC), Hex(oracle.Cbc(data, true), true));
}

// Short last blocks: the legacy decipher pads after the XOR with X; the chained encipher
// completes the data with 00 bytes whatever the padding group.
TEST(DesOracle, ShortLastBlocks) {
  std::mt19937 rng = test::SeededRng(99);
  const Bytes k1 = test::RandomBytes(rng, 8), iv = test::RandomBytes(rng, 8);
  const Oracle oracle(k1, k1, k1, iv);
  DES des;
  des.Keys(1, Hex(k1, false));
  des.InitVector(Hex(iv, false));
  Bytes data = test::RandomBytes(rng, 13);
  const std::string text = Hex(data, false);

  Bytes x = oracle.Legacy(Bytes(data.begin(), data.begin() + 8), false);
  Bytes last(data.begin() + 8, data.end());
  for (std::size_t k = 0; k < last.size(); ++k) last[k] ^= x[k];
  last.resize(8, 0x20);
  const Bytes tail = oracle.Cbc(last, false);  // one block: D(B) ^ IV
  x.insert(x.end(), tail.begin(), tail.end());
  EXPECT_EQ(des.Decrypt(text, desSingle | desPadBlank | desLegacyChain), Hex(x, true));

  data.resize(16, 0x00);
  EXPECT_EQ(des.Encrypt(text, desSingle | desPadBlank | desChainedCBC),
            Hex(oracle.Chained(data, true), true));
}

}  // namespace
}  // namespace lumivex::crypto
