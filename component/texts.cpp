#include "component/texts.h"

#include <array>
#include <cctype>
#include <string_view>

namespace lumivex {

// The texts carry typographic quotes and an en dash; they must reach the host as UTF-8.
static_assert(sizeof("‘’–") == 10, "texts.cpp must be compiled with a UTF-8 execution charset");

namespace {

// ---- PC/SC results ----

struct ScardRow {
  std::uint32_t code;
  std::string_view text;
};

// Codes 0x80100007, 0x80100008, 0x80100012..16, 0x80100018 and 0x80100019 have no text on
// purpose: they are reported in the "Unexpected error 0x..." form.
constexpr std::array kScardRows{
    ScardRow{0x00000000, "OK (SCARD_S_SUCCESS)"},
    ScardRow{0x80100004,
             "One or more of the supplied parameters could not be properly interpreted "
             "(SCARD_E_INVALID_PARAMETER)."},
    ScardRow{0x80100005,
             "Registry startup information is missing or invalid (SCARD_E_INVALID_TARGET)."},
    ScardRow{0x80100006,
             "Not enough memory available to complete this command (SCARD_E_NO_MEMORY)."},
    ScardRow{0x80100009, "The specified reader name is not recognized (SCARD_E_UNKNOWN_READER)."},
    ScardRow{0x8010000A, "The user-specified timeout value has expired (SCARD_E_TIMEOUT)."},
    ScardRow{0x8010000B,
             "The smart card cannot be accessed because of other connections outstanding "
             "(SCARD_E_SHARING_VIOLATION)."},
    ScardRow{0x8010000C, "No Smart Card is currently in the device (SCARD_E_NO_SMARTCARD)."},
    ScardRow{0x8010000D, "The specified smart card name is not recognized (SCARD_E_UNKNOWN_CARD)."},
    ScardRow{0x8010000E,
             "The system could not dispose of the media in the requested manner "
             "(SCARD_E_CANT_DISPOSE)."},
    ScardRow{0x8010000F,
             "The requested protocols are incompatible with the protocol currently in use with the "
             "smart card (SCARD_E_PROTO_MISMATCH)."},
    ScardRow{0x80100010,
             "The reader or smart card is not ready to accept commands (SCARD_E_NOT_READY)."},
    ScardRow{0x80100011,
             "One or more of the supplied parameters values could not be properly interpreted "
             "(SCARD_E_INVALID_VALUE)."},
    ScardRow{
        0x80100017,
        "The specified reader is not currently available for use (SCARD_E_READER_UNAVAILABLE)."},
    ScardRow{0x8010001A,
             "The reader driver does not meet minimal requirements for support "
             "(SCARD_E_READER_UNSUPPORTED)."},
    ScardRow{0x8010001B,
             "The reader driver did not produce a unique reader name (SCARD_E_DUPLICATE_READER)."},
    ScardRow{0x8010001C,
             "The smart card does not meet minimal requirements for support "
             "(SCARD_E_CARD_UNSUPPORTED)."},
    ScardRow{0x8010001D, "The Smart card resource manager is not running (SCARD_E_NO_SERVICE)."},
    ScardRow{0x8010001E,
             "The Smart card resource manager has shut down (SCARD_E_SERVICE_STOPPED)."},
    ScardRow{0x8010001F, "An unexpected card error has occurred (SCARD_E_UNEXPECTED)."},
    ScardRow{0x8010002E, "Cannot find a smart card reader (SCARD_E_NO_READERS_AVAILABLE)."},
    ScardRow{0x80100069,
             "The smart card has been removed, so that further communication is not possible "
             "(SCARD_W_REMOVED_CARD)."},
};

// ---- Status words ----

// What follows the fixed text of a row that inserts a value.
enum class Fill : std::uint8_t {
  None,
  CodeTail,      // the code's last two characters, as given
  Sw2Decimal,    // SW2 in decimal
  Sw2LowNibble,  // SW2 And 0x0F in decimal
};

// One row of a SW1 group. A row matches when SW2 lies in [sw2From, sw2To] or, for the counter
// row, when the code's third character is "C"/"c". The first matching row of the group wins.
struct StatusRow {
  std::uint8_t sw1;
  std::uint8_t sw2From;
  std::uint8_t sw2To;
  bool counter;
  std::string_view text;
  Fill fill;
  std::string_view tail;
};

constexpr StatusRow Exact(std::uint8_t sw1, std::uint8_t sw2, std::string_view text) {
  return {sw1, sw2, sw2, false, text, Fill::None, {}};
}
// Every SW2 not matched by an earlier row of the group.
constexpr StatusRow Rest(std::uint8_t sw1, std::string_view text) {
  return {sw1, 0x00, 0xFF, false, text, Fill::None, {}};
}
constexpr StatusRow Filled(std::uint8_t sw1, std::uint8_t sw2From, std::uint8_t sw2To,
                           std::string_view text, Fill fill, std::string_view tail) {
  return {sw1, sw2From, sw2To, false, text, fill, tail};
}
constexpr StatusRow CounterRow(std::uint8_t sw1, std::string_view text) {
  return {sw1, 0x00, 0xFF, true, text, Fill::None, {}};
}

constexpr std::array kStatusRows{
    Filled(0x61, 0x00, 0xFF, "[OK]  Command successfully executed; ‘0x0", Fill::CodeTail,
           "’ bytes of data are available and can be requested using GET RESPONSE."),
    Exact(0x62, 0x81, "[Warning]  The returned data may be erroneous."),
    Exact(0x62, 0x82,
          "[Warning]  Fewer bytes than specified by the Le parameter could be read, since the end "
          "of the file was encountered first."),
    Exact(0x62, 0x83, "[Warning]  The selected file is reversibly blocked (invalidated)."),
    Exact(0x62, 0x84,
          "[Warning]  The file control information (FCI) is not structured in accordance with "
          "ISO/IEC7816-4."),
    Rest(0x62, "[Warning]  State of non-volatile memory not changed."),
    CounterRow(
        0x63,
        "[Warning]  The counter has reached the value ‘x’ (0 = x = 15) (the exact significance "
        "depends on the command)."),
    Rest(0x63, "[Warning]  State of non-volatile memory changed."),
    Rest(0x64, "[Error]  State of non-volatile memory not changed."),
    Exact(0x65, 0x81, "[Error]  Memory error (e.g. during a write operation)."),
    Rest(0x65, "[Error]  State of non-volatile memory changed."),
    Exact(0x67, 0x00, "[Aborted]  Length incorrect."),
    Rest(0x67, "[Aborted]  Check error."),
    Exact(0x68, 0x00, "[Aborted]  Functions in the class byte not supported (general)."),
    Exact(0x68, 0x81, "[Aborted]  Logical channels not supported."),
    Exact(0x68, 0x82, "[Aborted]  Secure messaging not supported."),
    Rest(0x68, "[Aborted]  Check error."),
    Exact(0x69, 0x00, "[Aborted]  Command not allowed (general)."),
    Exact(0x69, 0x81, "[Aborted]  Command incompatible with file structure."),
    Exact(0x69, 0x82, "[Aborted]  Security state not satisfied."),
    Exact(0x69, 0x83, "[Aborted]  Authentication method blocked."),
    Exact(0x69, 0x84, "[Aborted]  Referenced data reversibly blocked (invalidated)."),
    Exact(0x69, 0x85, "[Aborted]  Usage conditions not satisfied."),
    Exact(0x69, 0x86, "[Aborted]  Command not allowed (no EF selected)."),
    Exact(0x69, 0x87, "[Aborted]  Expected secure messaging data objects missing."),
    Exact(0x69, 0x88, "[Aborted]  Secure messaging data objects incorrect."),
    Rest(0x69, "[Aborted]  Check error."),
    Exact(0x6A, 0x00, "[Aborted]  Incorrect P1 or P2 parameters (general)."),
    Exact(0x6A, 0x80, "[Aborted]  Parameters in the data portion are incorrect."),
    Exact(0x6A, 0x81, "[Aborted]  Function not supported."),
    Exact(0x6A, 0x82, "[Aborted]  File not found."),
    Exact(0x6A, 0x83, "[Aborted]  Record not found."),
    Exact(0x6A, 0x84, "[Aborted]  Insufficient memory."),
    Exact(0x6A, 0x85, "[Aborted]  Lc inconsistent with TLV structure."),
    Exact(0x6A, 0x86, "[Aborted]  Incorrect P1or P2 parameter."),
    Exact(0x6A, 0x87, "[Aborted]  Lc inconsistent with P1 or P2."),
    Exact(0x6A, 0x88, "[Aborted]  Referenced data not found."),
    Rest(0x6A, "[Aborted]  Check error."),
    Exact(0x6B, 0x00, "[Aborted]  Parameter 1 or 2 incorrect."),
    Rest(0x6B, "[Aborted]  Check error."),
    Filled(0x6C, 0x00, 0xFF, "[Aborted]  Bad length value in Le; ‘0x0", Fill::CodeTail,
           "’ is the correct length."),
    Exact(0x6D, 0x00, "[Aborted]  Command (instruction) not supported."),
    Rest(0x6D, "[Aborted]  Check error."),
    Exact(0x6E, 0x00, "[Aborted]  Class not supported."),
    Rest(0x6E, "[Aborted]  Check error."),
    Exact(0x6F, 0x00,
          "[Aborted]  Command aborted – more exact diagnosis not possible (e.g., operating system "
          "error)."),
    Rest(0x6F, "[Aborted]  Check error."),
    Exact(0x91, 0x0C,
          "[Warning]  DESFire, No changes done to the backup files, CommitTransaction / "
          "AbortTransaction not necessary."),
    Exact(0x91, 0x0E, "[Error]  DESFire, insufficient non-volatile memory to complete command."),
    Exact(0x91, 0x1C, "[Error]  DESFire, command code not supported."),
    Exact(0x91, 0x1E,
          "[Error]  DESFire, CRC or MAC doesn't match data or padding bytes not valid."),
    Exact(0x91, 0x40, "[Error]  DESFire, invalid key number specified."),
    Exact(0x91, 0x7E, "[Error]  DESFire, length of command string invalid."),
    Exact(0x91, 0x9D,
          "[Error]  DESFire, current configuration / status doesn't allow the requested command."),
    Exact(0x91, 0x9E, "[Error]  DESFire, value of the parameter(s) invalid."),
    Exact(0x91, 0xA0, "[Error]  DESFire, requested Application not present on PICC."),
    Exact(
        0x91, 0xA1,
        "[Error]  DESFire, unrecoverable error within application, application will be disabled."),
    Exact(0x91, 0xAE,
          "[Error]  DESFire, current authentication status doesn't allow the requested command. "
          "Authenticate first."),
    Exact(0x91, 0xAF, "[Error]  DESFire, additional data frame is expected to be sent."),
    Exact(0x91, 0xBE,
          "[Error]  DESFire, attempt to read/write data from/to beyond the file's/record's limits "
          "or attempt to exceed the limits of a value file."),
    Exact(0x91, 0xC1, "[Error]  DESFire, unrecoverable error with PICC, PICC will be disabled."),
    Exact(0x91, 0xCA,
          "[Error]  DESFire, previous command wasn't fully completed. Not all frames were "
          "requested or provided by the PCD."),
    Exact(0x91, 0xCD, "[Error]  DESFire, PICC was disabled by an unrecoverable error."),
    Exact(0x91, 0xCE,
          "[Error]  DESFire, number of applications limited to 28, no additional CreateApplication "
          "possible."),
    Exact(0x91, 0xDE,
          "[Error]  DESFire, creation of file/application failed because file/application with the "
          "same number already exists."),
    Exact(0x91, 0xEE,
          "[Error]  DESFire, could not complete non-volatile write operation due to loss of power, "
          "internal backup/rollback mechanism activated."),
    Exact(0x91, 0xF0, "[Error]  DESFire, specified file number doesn't exist."),
    Exact(0x91, 0xF1, "[Error]  DESFire, unrecoverable error within file, file will be disabled."),
    Filled(0x92, 0x00, 0x0F, "[OK]  Writing to EEPROM successful after ", Fill::Sw2LowNibble,
           " attempts."),
    Exact(0x92, 0x10, "[Aborted]  Insufficient memory."),
    Exact(0x92, 0x40, "[Error]  Writing to EEPROM not successful."),
    Exact(0x94, 0x00, "[Aborted]  No EF selected."),
    Exact(0x94, 0x02, "[Aborted]  Address range exceeded."),
    Exact(0x94, 0x04,
          "[Aborted]  FID not found, record not found or comparison pattern not found."),
    Exact(0x94, 0x08, "[Aborted]  Selected file type does not match command."),
    Exact(0x98, 0x02, "[Aborted]  No PIN defined."),
    Exact(0x98, 0x04, "[Aborted]  Access conditions not satisfied, authentication failed."),
    Exact(0x98, 0x35, "[Aborted]  ASK RANDOM or GIVE RANDOM not executed."),
    Exact(0x98, 0x40, "[Aborted]  PIN verification not successful."),
    Exact(
        0x98, 0x50,
        "[Aborted]  INCREASE or DECREASE could not be executed because a limit has been reached."),
    Filled(0x9F, 0x00, 0xFF, "[OK]  Command successfully executed, ", Fill::Sw2Decimal,
           " bytes of data are available and can be requested using GET RESPONSE."),
};

int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The value of up to two characters read as hexadecimal: a character that is not a hex digit
// ends the value, and nothing read gives 0.
std::uint8_t PairValue(std::string_view code, std::size_t offset) {
  int value = 0;
  for (std::size_t i = offset; i < offset + 2 && i < code.size(); ++i) {
    const int digit = HexDigitValue(code[i]);
    if (digit < 0) break;
    value = value * 16 + digit;
  }
  return static_cast<std::uint8_t>(value);
}

bool Matches(const StatusRow& row, std::string_view code, std::uint8_t sw1, std::uint8_t sw2) {
  if (row.sw1 != sw1) return false;
  if (row.counter) return code.size() >= 3 && (code[2] == 'C' || code[2] == 'c');
  return sw2 >= row.sw2From && sw2 <= row.sw2To;
}

std::string RowText(const StatusRow& row, std::string_view code, std::uint8_t sw2) {
  std::string text(row.text);
  switch (row.fill) {
    case Fill::None:
      return text;
    case Fill::CodeTail:
      text += code.substr(code.size() >= 2 ? code.size() - 2 : 0);
      break;
    case Fill::Sw2Decimal:
      text += std::to_string(sw2);
      break;
    case Fill::Sw2LowNibble:
      text += std::to_string(sw2 & 0x0F);
      break;
  }
  text += row.tail;
  return text;
}

}  // namespace

std::string SCardErrorText(std::int32_t code) {
  const auto value = static_cast<std::uint32_t>(code);
  for (const ScardRow& row : kScardRows) {
    if (row.code == value) return std::string(row.text);
  }
  std::string digits;
  for (int shift = 28; shift >= 0; shift -= 4) {
    const auto nibble = (value >> shift) & 0x0F;
    if (digits.empty() && nibble == 0 && shift > 0) continue;  // no leading zeros
    digits += "0123456789ABCDEF"[nibble];
  }
  return "Unexpected error 0x" + digits;
}

std::string StatusWordText(const std::string& code) {
  // The success words are compared as exact text: "9000" but not "90 00" nor "9000 ".
  if (code == "9000") return "[OK]  Command successfully executed.";
  if (code == "9100") return "[OK]  DESFire, successful operation.";

  const std::uint8_t sw1 = PairValue(code, 0);
  const std::uint8_t sw2 = PairValue(code, 2);
  for (const StatusRow& row : kStatusRows) {
    if (Matches(row, code, sw1, sw2)) return RowText(row, code, sw2);
  }

  std::string upper = code;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return "[Unknown]  Unknown retcode '" + upper + "'.";
}

}  // namespace lumivex
