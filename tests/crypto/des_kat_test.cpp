// Known-answer vectors of single DES in ECB, read from tests/data/des.vec. Going through the class
// as well covers the big-endian LoadBlock/StoreBlock between its bytes and the primitive.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "crypto/des.h"

namespace lumivex::crypto {
namespace {

TEST(DesKnownAnswers, EveryVectorEnciphersAndDeciphers) {
  std::ifstream in(std::string(LUMIVEX_SOURCE_DIR) + "/tests/data/des.vec");
  DES des;
  int vectors = 0;
  std::string text;
  for (int line = 1; std::getline(in, text); ++line) {
    if (text.empty() || text[0] == '#') continue;
    SCOPED_TRACE("des.vec line " + std::to_string(line));
    std::string key, plain, cipher;
    std::istringstream(text) >> key >> plain >> cipher;
    const DesKeySchedule schedule(std::stoull(key, nullptr, 16));
    EXPECT_EQ(schedule.Encrypt(std::stoull(plain, nullptr, 16)), std::stoull(cipher, nullptr, 16));
    EXPECT_EQ(schedule.Decrypt(std::stoull(cipher, nullptr, 16)), std::stoull(plain, nullptr, 16));
    // Through the class: single DES, and triple DES with three equal keys, which is single DES.
    for (std::int16_t slot = 1; slot <= 3; ++slot) des.Keys(slot, key);
    const auto compact = [](std::string spaced) { return std::erase(spaced, ' '), spaced; };
    EXPECT_EQ(compact(des.Encrypt(plain, desSingle | desECB)), cipher);
    EXPECT_EQ(compact(des.Encrypt(plain, desTriple | desECB)), cipher);
    EXPECT_EQ(compact(des.Decrypt(cipher, desTriple | desECB)), plain);
    ++vectors;
  }
  EXPECT_GE(vectors, 90) << "tests/data/des.vec missing or truncated";
}

}  // namespace
}  // namespace lumivex::crypto
