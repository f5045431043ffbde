#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "component/texts.h"

namespace lumivex {
namespace {

struct Case {
  std::string code;
  std::string text;
};

// FNV-1a over every text of a range of codes, one a line: a fingerprint of the whole table.
template <typename Text>
std::uint64_t Fingerprint(std::uint32_t first, std::uint32_t last, Text text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (std::uint32_t code = first; code <= last; ++code) {
    for (const char c : text(code) + "\n")
      hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
  }
  return hash;
}

// Every text the tables give, for every status word and every PC/SC result of the smart-card
// range, as it is today: a host sees these words, so none may change unnoticed.
TEST(Texts, EveryTextIsAsItWas) {
  EXPECT_EQ(Fingerprint(0, 0xFFFF,
                        [](std::uint32_t code) {
                          char word[8];
                          (void)std::snprintf(word, sizeof word, "%04X", code);
                          return StatusWordText(word);
                        }),
            13772871135019609272u);
  EXPECT_EQ(Fingerprint(
                0x80100000, 0x801000FF,
                [](std::uint32_t code) { return SCardErrorText(static_cast<std::int32_t>(code)); }),
            14270149852261766791u);
}

// What the fingerprint cannot see: a code in small letters finds its row and an inserted part
// keeps the caller's letters; an empty SW2 reads as 0, and a non-hex character ends SW2 ("6A8 "
// reads SW2 = 0x08, a "rest" of the group).
TEST(StatusWordText, ReadsSmallLettersShortCodesAndStopsAtANonHexDigit) {
  const std::vector<Case> cases = {
      {"91ae",
       "[Error]  DESFire, current authentication status doesn't allow the requested command. "
       "Authenticate first."},
      {"611a",
       "[OK]  Command successfully executed; ‘0x01a’ bytes of data are available and "
       "can be requested using GET RESPONSE."},
      {"6A", "[Aborted]  Incorrect P1 or P2 parameters (general)."},
      {"6A8 ", "[Aborted]  Check error."},
  };
  for (const Case& c : cases) EXPECT_EQ(StatusWordText(c.code), c.text) << c.code;
}

TEST(StatusWordText, GivesTheUnknownFormOutsideTheTable) {
  const std::vector<Case> cases = {
      {"90 00", "[Unknown]  Unknown retcode '90 00'."},
      {"9000 ", "[Unknown]  Unknown retcode '9000 '."},  // the success test is exact
      {"9100x", "[Unknown]  Unknown retcode '9100X'."},  // upper-cased, SW2 0x00 unlisted
      {"98ff", "[Unknown]  Unknown retcode '98FF'."},
      {"9G00", "[Unknown]  Unknown retcode '9G00'."},  // SW1 reads as 0x09
      {"abcd", "[Unknown]  Unknown retcode 'ABCD'."},
      {"", "[Unknown]  Unknown retcode ''."},
  };
  for (const Case& c : cases) EXPECT_EQ(StatusWordText(c.code), c.text) << c.code;
}

// Outside the fingerprinted range: success has its text, any other code the unexpected form in
// hexadecimal.
TEST(SCardErrorText, GivesTheTextOfAKnownCodeAndTheUnexpectedFormOtherwise) {
  EXPECT_EQ(SCardErrorText(0), "OK (SCARD_S_SUCCESS)");
  EXPECT_EQ(SCardErrorText(-1), "Unexpected error 0xFFFFFFFF");
  EXPECT_EQ(SCardErrorText(5), "Unexpected error 0x5");
  EXPECT_EQ(SCardErrorText(0x1A0), "Unexpected error 0x1A0");
}

}  // namespace
}  // namespace lumivex
