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
// range, as it is today: a host sees these words, so none may change unnoticed. (The cases below
// say what the rules are; this says nothing else moved.)
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

// Each kind of row of the SW1 groups: exact SW2, "rest" rows (an SW2 no earlier row claims), the
// counter row, and the rows that insert part of the code; SW1 and SW2 are read case-insensitively.
TEST(StatusWordText, GivesTheTextOfEachKindOfRow) {
  const std::vector<Case> cases = {
      {"9000", "[OK]  Command successfully executed."},
      {"9100", "[OK]  DESFire, successful operation."},
      {"6281", "[Warning]  The returned data may be erroneous."},
      {"62ff", "[Warning]  State of non-volatile memory not changed."},
      {"6381", "[Warning]  State of non-volatile memory changed."},
      {"64A5", "[Error]  State of non-volatile memory not changed."},
      {"67fF", "[Aborted]  Check error."},
      {"6a82", "[Aborted]  File not found."},
      {"6F00",
       "[Aborted]  Command aborted – more exact diagnosis not possible (e.g., operating system "
       "error)."},
      {"910C",
       "[Warning]  DESFire, No changes done to the backup files, CommitTransaction / "
       "AbortTransaction not necessary."},
      {"91ae",
       "[Error]  DESFire, current authentication status doesn't allow the requested command. "
       "Authenticate first."},
      {"63c3",
       "[Warning]  The counter has reached the value ‘x’ (0 = x = 15) (the exact "
       "significance depends on the command)."},
      {"611a",
       "[OK]  Command successfully executed; ‘0x01a’ bytes of data are available and "
       "can be requested using GET RESPONSE."},
      {"6C10", "[Aborted]  Bad length value in Le; ‘0x010’ is the correct length."},
      {"9F10",
       "[OK]  Command successfully executed, 16 bytes of data are available and can be "
       "requested using GET RESPONSE."},
      {"9205", "[OK]  Writing to EEPROM successful after 5 attempts."},
      // An empty SW2 reads as 0.
      {"6A", "[Aborted]  Incorrect P1 or P2 parameters (general)."},
      // A non-hex character ends SW2: "6A8 " reads SW2 = 0x08, a "rest" of the group.
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

// Known codes have their text; the others, among them the gaps the table leaves on purpose, the
// unexpected form in hexadecimal.
TEST(SCardErrorText, GivesTheTextOfAKnownCodeAndTheUnexpectedFormOtherwise) {
  EXPECT_EQ(SCardErrorText(0), "OK (SCARD_S_SUCCESS)");
  EXPECT_EQ(SCardErrorText(static_cast<std::int32_t>(0x8010001DU)),
            "The Smart card resource manager is not running (SCARD_E_NO_SERVICE).");
  EXPECT_EQ(SCardErrorText(static_cast<std::int32_t>(0x80100008U)), "Unexpected error 0x80100008");
  EXPECT_EQ(SCardErrorText(-1), "Unexpected error 0xFFFFFFFF");
  EXPECT_EQ(SCardErrorText(5), "Unexpected error 0x5");
  EXPECT_EQ(SCardErrorText(0x1A0), "Unexpected error 0x1A0");
}

}  // namespace
}  // namespace lumivex
