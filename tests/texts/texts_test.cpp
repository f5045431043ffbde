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

// One code per row of every SW1 group ("rest" rows with an SW2 no earlier row claims), some in
// lower case since SW1 and SW2 are read case-insensitively.
TEST(StatusWordText, GivesTheTextOfEveryRow) {
  const std::vector<Case> cases = {
      {"9000", "[OK]  Command successfully executed."},
      {"9100", "[OK]  DESFire, successful operation."},
      {"6281", "[Warning]  The returned data may be erroneous."},
      {"6282",
       "[Warning]  Fewer bytes than specified by the Le parameter could be read, since the end of "
       "the file was encountered first."},
      {"6283", "[Warning]  The selected file is reversibly blocked (invalidated)."},
      {"6284",
       "[Warning]  The file control information (FCI) is not structured in accordance with "
       "ISO/IEC7816-4."},
      {"62ff", "[Warning]  State of non-volatile memory not changed."},
      {"6381", "[Warning]  State of non-volatile memory changed."},
      {"64A5", "[Error]  State of non-volatile memory not changed."},
      {"6581", "[Error]  Memory error (e.g. during a write operation)."},
      {"6500", "[Error]  State of non-volatile memory changed."},
      {"6700", "[Aborted]  Length incorrect."},
      {"67fF", "[Aborted]  Check error."},
      {"6800", "[Aborted]  Functions in the class byte not supported (general)."},
      {"6881", "[Aborted]  Logical channels not supported."},
      {"6882", "[Aborted]  Secure messaging not supported."},
      {"6883", "[Aborted]  Check error."},
      {"6900", "[Aborted]  Command not allowed (general)."},
      {"6981", "[Aborted]  Command incompatible with file structure."},
      {"6982", "[Aborted]  Security state not satisfied."},
      {"6983", "[Aborted]  Authentication method blocked."},
      {"6984", "[Aborted]  Referenced data reversibly blocked (invalidated)."},
      {"6985", "[Aborted]  Usage conditions not satisfied."},
      {"6986", "[Aborted]  Command not allowed (no EF selected)."},
      {"6987", "[Aborted]  Expected secure messaging data objects missing."},
      {"6988", "[Aborted]  Secure messaging data objects incorrect."},
      {"6989", "[Aborted]  Check error."},
      {"6A00", "[Aborted]  Incorrect P1 or P2 parameters (general)."},
      {"6A80", "[Aborted]  Parameters in the data portion are incorrect."},
      {"6A81", "[Aborted]  Function not supported."},
      {"6a82", "[Aborted]  File not found."},
      {"6A83", "[Aborted]  Record not found."},
      {"6A84", "[Aborted]  Insufficient memory."},
      {"6A85", "[Aborted]  Lc inconsistent with TLV structure."},
      {"6A86", "[Aborted]  Incorrect P1or P2 parameter."},
      {"6A87", "[Aborted]  Lc inconsistent with P1 or P2."},
      {"6A88", "[Aborted]  Referenced data not found."},
      {"6a89", "[Aborted]  Check error."},
      {"6B00", "[Aborted]  Parameter 1 or 2 incorrect."},
      {"6B01", "[Aborted]  Check error."},
      {"6D00", "[Aborted]  Command (instruction) not supported."},
      {"6D80", "[Aborted]  Check error."},
      {"6E00", "[Aborted]  Class not supported."},
      {"6E01", "[Aborted]  Check error."},
      {"6F00",
       "[Aborted]  Command aborted – more exact diagnosis not possible (e.g., operating system "
       "error)."},
      {"6F10", "[Aborted]  Check error."},
      {"910C",
       "[Warning]  DESFire, No changes done to the backup files, CommitTransaction / "
       "AbortTransaction not necessary."},
      {"910E", "[Error]  DESFire, insufficient non-volatile memory to complete command."},
      {"911C", "[Error]  DESFire, command code not supported."},
      {"911E", "[Error]  DESFire, CRC or MAC doesn't match data or padding bytes not valid."},
      {"9140", "[Error]  DESFire, invalid key number specified."},
      {"917E", "[Error]  DESFire, length of command string invalid."},
      {"919D",
       "[Error]  DESFire, current configuration / status doesn't allow the requested command."},
      {"919E", "[Error]  DESFire, value of the parameter(s) invalid."},
      {"91A0", "[Error]  DESFire, requested Application not present on PICC."},
      {"91A1",
       "[Error]  DESFire, unrecoverable error within application, application will be disabled."},
      {"91ae",
       "[Error]  DESFire, current authentication status doesn't allow the requested command. "
       "Authenticate first."},
      {"91AF", "[Error]  DESFire, additional data frame is expected to be sent."},
      {"91BE",
       "[Error]  DESFire, attempt to read/write data from/to beyond the file's/record's limits or "
       "attempt to exceed the limits of a value file."},
      {"91C1", "[Error]  DESFire, unrecoverable error with PICC, PICC will be disabled."},
      {"91CA",
       "[Error]  DESFire, previous command wasn't fully completed. Not all frames were requested "
       "or provided by the PCD."},
      {"91CD", "[Error]  DESFire, PICC was disabled by an unrecoverable error."},
      {"91CE",
       "[Error]  DESFire, number of applications limited to 28, no additional CreateApplication "
       "possible."},
      {"91DE",
       "[Error]  DESFire, creation of file/application failed because file/application with the "
       "same number already exists."},
      {"91EE",
       "[Error]  DESFire, could not complete non-volatile write operation due to loss of power, "
       "internal backup/rollback mechanism activated."},
      {"91F0", "[Error]  DESFire, specified file number doesn't exist."},
      {"91F1", "[Error]  DESFire, unrecoverable error within file, file will be disabled."},
      {"9210", "[Aborted]  Insufficient memory."},
      {"9240", "[Error]  Writing to EEPROM not successful."},
      {"9400", "[Aborted]  No EF selected."},
      {"9402", "[Aborted]  Address range exceeded."},
      {"9404", "[Aborted]  FID not found, record not found or comparison pattern not found."},
      {"9408", "[Aborted]  Selected file type does not match command."},
      {"9802", "[Aborted]  No PIN defined."},
      {"9804", "[Aborted]  Access conditions not satisfied, authentication failed."},
      {"9835", "[Aborted]  ASK RANDOM or GIVE RANDOM not executed."},
      {"9840", "[Aborted]  PIN verification not successful."},
      {"9850",
       "[Aborted]  INCREASE or DECREASE could not be executed because a limit has been reached."},
      {"63C3",
       "[Warning]  The counter has reached the value ‘x’ (0 = x = 15) (the exact "
       "significance depends on the command)."},
      {"63c0",
       "[Warning]  The counter has reached the value ‘x’ (0 = x = 15) (the exact "
       "significance depends on the command)."},
      {"6105",
       "[OK]  Command successfully executed; ‘0x005’ bytes of data are available and "
       "can be requested using GET RESPONSE."},
      {"611a",
       "[OK]  Command successfully executed; ‘0x01a’ bytes of data are available and "
       "can be requested using GET RESPONSE."},
      {"6C10", "[Aborted]  Bad length value in Le; ‘0x010’ is the correct length."},
      {"9F10",
       "[OK]  Command successfully executed, 16 bytes of data are available and can be "
       "requested using GET RESPONSE."},
      {"9fff",
       "[OK]  Command successfully executed, 255 bytes of data are available and can be "
       "requested using GET RESPONSE."},
      {"9200", "[OK]  Writing to EEPROM successful after 0 attempts."},
      {"9205", "[OK]  Writing to EEPROM successful after 5 attempts."},
      {"920F", "[OK]  Writing to EEPROM successful after 15 attempts."},
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
      {"9001", "[Unknown]  Unknown retcode '9001'."},
      {"9000 ", "[Unknown]  Unknown retcode '9000 '."},  // the success test is exact
      {"91FF", "[Unknown]  Unknown retcode '91FF'."},
      {"9100x", "[Unknown]  Unknown retcode '9100X'."},  // upper-cased, SW2 0x00 unlisted
      {"9220", "[Unknown]  Unknown retcode '9220'."},
      {"9211", "[Unknown]  Unknown retcode '9211'."},
      {"9401", "[Unknown]  Unknown retcode '9401'."},
      {"98ff", "[Unknown]  Unknown retcode '98FF'."},
      {"6600", "[Unknown]  Unknown retcode '6600'."},
      {"9G00", "[Unknown]  Unknown retcode '9G00'."},  // SW1 reads as 0x09
      {"abcd", "[Unknown]  Unknown retcode 'ABCD'."},
      {"", "[Unknown]  Unknown retcode ''."},
  };
  for (const Case& c : cases) EXPECT_EQ(StatusWordText(c.code), c.text) << c.code;
}

TEST(SCardErrorText, GivesTheTextOfAKnownCode) {
  EXPECT_EQ(SCardErrorText(0), "OK (SCARD_S_SUCCESS)");
  EXPECT_EQ(SCardErrorText(static_cast<std::int32_t>(0x8010001DU)),
            "The Smart card resource manager is not running (SCARD_E_NO_SERVICE).");
  EXPECT_EQ(SCardErrorText(static_cast<std::int32_t>(0x80100069U)),
            "The smart card has been removed, so that further communication is not possible "
            "(SCARD_W_REMOVED_CARD).");
}

TEST(SCardErrorText, LeavesTheGapsAndUnlistedCodesUnexpected) {
  const std::vector<std::uint32_t> gaps = {0x80100001, 0x80100002, 0x80100003, 0x80100007,
                                           0x80100008, 0x80100012, 0x80100013, 0x80100014,
                                           0x80100015, 0x80100016, 0x80100018, 0x80100019,
                                           0x80100022, 0x80100066, 0xFFFFFFFF};
  for (const std::uint32_t code : gaps) {
    char expected[32];
    std::snprintf(expected, sizeof expected, "Unexpected error 0x%08X", code);
    EXPECT_EQ(SCardErrorText(static_cast<std::int32_t>(code)), expected);
  }
  EXPECT_EQ(SCardErrorText(5), "Unexpected error 0x5");
  EXPECT_EQ(SCardErrorText(0x1A0), "Unexpected error 0x1A0");
}

}  // namespace
}  // namespace lumivex
