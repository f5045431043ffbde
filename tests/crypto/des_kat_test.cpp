// Known-answer vectors of single DES in ECB, read from tests/data/des.vec.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "crypto/des.h"
#include "crypto_test_util.h"

namespace lumivex::crypto {
namespace {

struct Vector {
  std::string key, plain, cipher;
  int line;
};

std::vector<Vector> LoadVectors() {
  std::ifstream in(std::string(LUMIVEX_SOURCE_DIR) + "/tests/data/des.vec");
  std::vector<Vector> vectors;
  std::string text;
  for (int line = 1; std::getline(in, text); ++line) {
    if (text.empty() || text[0] == '#') continue;
    std::istringstream fields(text);
    Vector v{{}, {}, {}, line};
    fields >> v.key >> v.plain >> v.cipher;
    vectors.push_back(v);
  }
  return vectors;
}

std::string Spaced(const std::string& compact) {
  std::string text;
  for (std::size_t i = 0; i < compact.size(); i += 2) text += (i ? " " : "") + compact.substr(i, 2);
  return text;
}

TEST(DesKnownAnswers, EveryVectorEnciphersAndDeciphers) {
  const std::vector<Vector> vectors = LoadVectors();
  ASSERT_GE(vectors.size(), 90U) << "tests/data/des.vec missing or truncated";
  DES des;
  for (const Vector& v : vectors) {
    SCOPED_TRACE("des.vec line " + std::to_string(v.line));
    const DesKeySchedule schedule(std::stoull(v.key, nullptr, 16));
    EXPECT_EQ(schedule.Encrypt(std::stoull(v.plain, nullptr, 16)),
              std::stoull(v.cipher, nullptr, 16));
    EXPECT_EQ(schedule.Decrypt(std::stoull(v.cipher, nullptr, 16)),
              std::stoull(v.plain, nullptr, 16));
    // Through the class: single DES, and triple DES with three equal keys, which is single DES.
    for (std::int16_t slot = 1; slot <= 3; ++slot) des.Keys(slot, v.key);
    EXPECT_EQ(des.Encrypt(v.plain, desSingle | desECB), Spaced(v.cipher));
    EXPECT_EQ(des.Encrypt(v.plain, desTriple | desECB), Spaced(v.cipher));
    EXPECT_EQ(des.Decrypt(v.cipher, desTriple | desECB), Spaced(v.plain));
  }
}

TEST(DesBlock, LoadAndStoreAreBigEndian) {
  const std::array<std::uint8_t, 8> bytes = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
  EXPECT_EQ(LoadBlock(bytes), 0x0123456789ABCDEFULL);
  std::array<std::uint8_t, 8> back{};
  StoreBlock(0x0123456789ABCDEFULL, back);
  EXPECT_EQ(back, bytes);
}

}  // namespace
}  // namespace lumivex::crypto
