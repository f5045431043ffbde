// The cipher and the checksum against references: OpenSSL on random keys, IVs and data, through
// the cipher's bytes and its text (single and triple DES in ECB, also in bulk, and CBC, and the two
// outer chainings computed here from OpenSSL's single-block triple DES); CRC_A against its
// byte-wise steps.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/des.h>

#include <random>

#include "crypto/des.h"
#include "crypto/hex_codec.h"

namespace lumivex::crypto {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Block = std::span<const std::uint8_t, 8>;

Bytes RandomBytes(std::mt19937& rng, std::size_t n) {
  Bytes bytes(n);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  return bytes;
}

struct Oracle {
  Oracle(Block k1, Block k2, Block k3, Block initial) : iv(initial.begin(), initial.end()) {
    const Block keys[] = {k1, k2, k3};
    for (int i = 0; i < 3; ++i) {
      DES_cblock key;
      std::copy_n(keys[i].begin(), 8, key);
      DES_set_key_unchecked(&key, &ks[i]);
    }
  }
  Bytes Cbc(const Bytes& in, bool encipher) {
    Bytes out(in.size());
    DES_cblock chain;
    std::copy_n(iv.begin(), 8, chain);
    DES_ede3_cbc_encrypt(in.data(), out.data(), static_cast<long>(in.size()), &ks[0], &ks[1],
                         &ks[2], &chain, encipher ? DES_ENCRYPT : DES_DECRYPT);
    return out;
  }
  // Block by block (EDE of one block each) with an outer value X starting at zero:
  //   ECB         E(I) / D(I)
  //   legacy      E(I ^ IV) ^ X, X = I        /  D(I ^ X) ^ IV, X = output
  //   chained CBC E(I ^ X ^ IV), X = output  /  D(I) ^ IV ^ X, X = I
  // A short last block is completed with `pad`, or 00 bytes when an outer chaining enciphers;
  // the legacy chain's decipher pads after the XOR with X.
  Bytes Chain(const Bytes& in, bool encipher, DesChaining chaining, std::uint8_t pad) {
    const bool outer = chaining != DesChaining::kEcb;
    const bool legacy = chaining == DesChaining::kLegacyChain;
    const bool xBefore = outer && legacy != encipher;
    if (outer && encipher) pad = 0;
    Bytes out((in.size() + 7) / 8 * 8), x(8, 0);
    for (std::size_t i = 0; i < out.size(); i += 8) {
      DES_cblock block, b, result;
      for (std::size_t k = 0; k < 8; ++k) {
        const bool given = i + k < in.size();
        block[k] = given ? in[i + k] : pad;
        b[k] = block[k] ^ (outer && encipher ? iv[k] : 0) ^
               (xBefore && (encipher || given) ? x[k] : 0);
      }
      DES_ecb3_encrypt(&b, &result, &ks[0], &ks[1], &ks[2], encipher ? DES_ENCRYPT : DES_DECRYPT);
      for (std::size_t k = 0; k < 8; ++k) {
        out[i + k] = result[k] ^ (outer && !encipher ? iv[k] : 0) ^ (outer && !xBefore ? x[k] : 0);
      }
      std::copy_n(xBefore ? &out[i] : block, 8, x.begin());
    }
    return out;
  }

  DES_key_schedule ks[3];
  Bytes iv;
};

// Also shows that the stored IV is not carried over: every call starts again from it. The data
// sizes cover short last blocks, and the bulk path's groups of blocks and its tail.
TEST(DesOracle, EveryChainingAgreesWithOpenSsl) {
  std::mt19937 rng(20240611);  // NOLINT(cert-msc51-cpp): failures stay reproducible
  for (int round = 0; round < 40; ++round) {
    const DesAlgorithm algorithm = round % 2 == 1 ? DesAlgorithm::kTriple : DesAlgorithm::kSingle;
    const DesPadding padding = round % 4 < 2 ? DesPadding::kZero : DesPadding::kBlank;
    const std::uint8_t pad = padding == DesPadding::kBlank ? 0x20 : 0x00;
    const Bytes k1 = RandomBytes(rng, 8), k2 = RandomBytes(rng, 8), k3 = RandomBytes(rng, 8),
                iv = RandomBytes(rng, 8);
    // Single DES is slot 1 alone: OpenSSL runs it as EDE with three equal keys.
    const bool triple = algorithm == DesAlgorithm::kTriple;
    Oracle oracle(Block(k1), Block(triple ? k2 : k1), Block(triple ? k3 : k1), Block(iv));
    DES des;
    DesCipher cipher;
    const Bytes* keys[] = {&k1, &k2, &k3};
    for (std::int16_t slot = 1; slot <= 3; ++slot) {
      des.Keys(slot, FormatHex(*keys[slot - 1], slot == 1));
      cipher.SetKey(slot, Block(*keys[slot - 1]));
    }
    des.InitVector(FormatHex(iv, true));
    cipher.SetInitVector(Block(iv));
    const Bytes data = RandomBytes(rng, 1 + rng() % 192);
    Bytes padded = data;
    padded.resize((data.size() + 7) / 8 * 8, pad);
    for (const DesChaining chaining : {DesChaining::kEcb, DesChaining::kCbc,
                                       DesChaining::kLegacyChain, DesChaining::kChainedCbc}) {
      SCOPED_TRACE("round " + std::to_string(round) + " chaining " +
                   std::to_string(static_cast<int>(chaining)));
      const std::int32_t mode = DesModeWord(algorithm, chaining, padding);
      for (const bool encipher : {true, false}) {
        const Bytes expected = chaining == DesChaining::kCbc
                                   ? oracle.Cbc(padded, encipher)
                                   : oracle.Chain(data, encipher, chaining, pad);
        EXPECT_EQ(encipher ? cipher.Encrypt(data, mode) : cipher.Decrypt(data, mode), expected);
        const std::string text = FormatHex(data, false);
        EXPECT_EQ(encipher ? des.Encrypt(text, mode) : des.Decrypt(text, mode),
                  FormatHex(expected, true));
      }
    }
    Bytes bulk(data.begin(), data.begin() + static_cast<long>(data.size() / 8 * 8));
    const Bytes plain = bulk;
    cipher.EncryptEcb(bulk, bulk, algorithm);  // in place
    EXPECT_EQ(bulk, oracle.Chain(plain, true, DesChaining::kEcb, 0));
    cipher.DecryptEcb(bulk, bulk, algorithm);
    EXPECT_EQ(bulk, plain);
  }
}

// "LL HH" text, swallowed errors, and the table-driven CRC against the byte-wise steps of
// ISO/IEC 14443-3 on random data.
TEST(Crc16, VectorsAndByteWiseSteps) {
  DES des;
  const std::pair<const char*, const char*> cases[] = {
      {"00 00", "A0 1E"}, {"12 34", "26 CF"}, {"1234", "26 CF"}, {"", "63 63"}, {"0G", "63 63"}};
  for (const auto& [data, crc] : cases) EXPECT_EQ(des.CRC16(data), crc) << data;
  std::mt19937 rng(5);  // NOLINT(cert-msc51-cpp)
  for (int round = 0; round < 200; ++round) {
    const Bytes data = RandomBytes(rng, rng() % 48);
    unsigned crc = 0x6363;
    for (const std::uint8_t b : data) {
      unsigned ch = (b ^ crc) & 0xFF;
      ch = (ch ^ (ch << 4)) & 0xFF;
      crc = ((crc >> 8) ^ (ch << 8) ^ (ch << 3) ^ (ch >> 4)) & 0xFFFF;
    }
    ASSERT_EQ(Crc16A(data), crc);
  }
}

}  // namespace
}  // namespace lumivex::crypto
