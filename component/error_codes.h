// Error numbers the component records in its last-error record (high word 9001: the component;
// next byte: 0F session and transport, 0B MIFARE, 0E DESFire).
#pragma once

#include <cstdint>

namespace lumivex::err {

constexpr std::int32_t Code(std::uint32_t hex) {
  return static_cast<std::int32_t>(hex);
}

// Session and transport.
constexpr std::int32_t kEncoderClosed = Code(0x90010F01);          // "Encoder is closed"
constexpr std::int32_t kCannotEstablish = Code(0x90010F02);        // "Cannot open encoder"
constexpr std::int32_t kCannotConnect = Code(0x90010F03);          // "Cannot open encoder"
constexpr std::int32_t kCommandFailed = Code(0x90010F04);          // "Encoder command failed"
constexpr std::int32_t kAuthenticationFailure = Code(0x90010F05);  // "Authentication failure"
constexpr std::int32_t kEncoderEmpty = Code(0x90010F06);           // "No card in encoder"
// Configure: the dialog could not be shown (no dialog binding, or the binding failed).
constexpr std::int32_t kNoDialog = Code(0x90010F10);

// MIFARE.
constexpr std::int32_t kIncorrectOffsets = Code(0x90010B04);  // "Incorrect offsets in parameters"
constexpr std::int32_t kIncorrectBX = Code(0x90010B05);       // "Incorrect value for BX"
constexpr std::int32_t kKeyNot12Hex = Code(0x90010B30);       // "A key must contain 12 hex digits"
constexpr std::int32_t kInvalidSecurity =
    Code(0x90010B32);  // "Invalid security information in parameters"
constexpr std::int32_t kReadError = Code(0x90010B40);   // "Read error on encoder"
constexpr std::int32_t kWriteError = Code(0x90010B41);  // "Write error on encoder"
constexpr std::int32_t kBlocNot32Hex =
    Code(0x90010B42);  // "A data bloc must contain 32 hex digits"

// DESFire.
constexpr std::int32_t kOperationFailed = Code(0x90010E03);   // "The requested operation failed"
constexpr std::int32_t kNotAuthenticated = Code(0x90010E11);  // "Not authenticated"
constexpr std::int32_t kOnlyAtRoot =
    Code(0x90010E12);  // "This command is only available at root level"
constexpr std::int32_t kIncorrectAppId = Code(0x90010E20);  // "Incorrect Application ID"
constexpr std::int32_t kCannotConnectPicc =
    Code(0x90010E21);                                     // "Cannot connect to PICC application"
constexpr std::int32_t kBadKeyNumber = Code(0x90010E31);  // "Bad key number"
constexpr std::int32_t kBadKeyLength = Code(0x90010E32);  // "Bad key length"
constexpr std::int32_t kInvalidKey = Code(0x90010E33);    // "Invalid key"
constexpr std::int32_t kInvalidParameter = Code(0x90010E40);     // "Invalid parameter"
constexpr std::int32_t kInvalidFileNumber = Code(0x90010E41);    // "Invalid file number"
constexpr std::int32_t kInvalidCommSettings = Code(0x90010E42);  // "Invalid communication settings"
constexpr std::int32_t kInvalidFileSize = Code(0x90010E43);      // "Invalid file size"
constexpr std::int32_t kInvalidLimits = Code(0x90010E44);        // "Invalid limits"
constexpr std::int32_t kValueOutOfBounds = Code(0x90010E45);
constexpr std::int32_t kInvalidRecordSize = Code(0x90010E46);   // "Invalid record size"
constexpr std::int32_t kInvalidRecordCount = Code(0x90010E47);  // "Invalid record count"
constexpr std::int32_t kWrongFileType = Code(0x90010E48);
constexpr std::int32_t kInvalidOffset = Code(0x90010E49);  // "Invalid offset value"
constexpr std::int32_t kInvalidLength = Code(0x90010E4A);  // "Invalid length"
constexpr std::int32_t kFileNotFound = Code(0x90010E4D);   // "File not found"
constexpr std::int32_t kInvalidAmount = Code(0x90010E4E);  // "Invalid amount"
constexpr std::int32_t kNoChanges = Code(0x90010E4F);
constexpr std::int32_t kValueExceedsLimits = Code(0x90010E50);
constexpr std::int32_t kCreditExceedsLimit = Code(0x90010E51);

// Raised by the DES class; the DESFire operations catch them and record them as they are.
constexpr std::int32_t kBadKeyIndex = Code(0xA0010001);       // "Bad key index"
constexpr std::int32_t kBadParameterType = Code(0xA0010002);  // "Bad parameter type"
constexpr std::int32_t kInvalidHexString = Code(0xA0010003);  // "Invalid hexadecimal string"
constexpr std::int32_t kInvalidAlgorithm = Code(0xA0010004);  // "Invalid cipher algorithm"
constexpr std::int32_t kInvalidChaining = Code(0xA0010005);   // "Invalid chaining mode"
constexpr std::int32_t kBadPaddingMode = Code(0xA0010006);    // "Bad padding mode"
// "Character not in the code page: U+0100": plain text with a character that has no one-byte
// form in the host's ANSI code page (refused before anything is sent).
constexpr std::int32_t kNotInCodePage = Code(0xA0010007);

}  // namespace lumivex::err
