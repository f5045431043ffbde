// The failures the component records, each with its number (error_codes.h) and its text.
#pragma once

#include <cstdint>

#include "component/error_codes.h"

namespace lumivex {

struct Failure {
  std::int32_t number;
  const char* description;
};

namespace failure {
// Session and transport.
inline constexpr Failure kEncoderClosed{err::kEncoderClosed, "Encoder is closed"};
inline constexpr Failure kCannotEstablish{err::kCannotEstablish, "Cannot open encoder"};
inline constexpr Failure kCannotConnect{err::kCannotConnect, "Cannot open encoder"};
inline constexpr Failure kCommandFailed{err::kCommandFailed, "Encoder command failed"};
inline constexpr Failure kEncoderEmpty{err::kEncoderEmpty, "No card in encoder"};
inline constexpr Failure kNoDialog{err::kNoDialog, "No dialog can be shown"};

// MIFARE.
inline constexpr Failure kIncorrectOffsets{err::kIncorrectOffsets,
                                           "Incorrect offsets in parameters"};
inline constexpr Failure kIncorrectBX{err::kIncorrectBX, "Incorrect value for BX"};
inline constexpr Failure kKeyNot12Hex{err::kKeyNot12Hex, "A key must contain 12 hex digits"};
inline constexpr Failure kInvalidSecurity{err::kInvalidSecurity,
                                          "Invalid security information in parameters"};
inline constexpr Failure kReadError{err::kReadError, "Read error on encoder"};
inline constexpr Failure kWriteError{err::kWriteError, "Write error on encoder"};
inline constexpr Failure kBlocNot32Hex{err::kBlocNot32Hex,
                                       "A data bloc must contain 32 hex digits"};

// DESFire.
inline constexpr Failure kOperationFailed{err::kOperationFailed, "The requested operation failed"};
inline constexpr Failure kNotAuthenticated{err::kNotAuthenticated, "Not authenticated"};
inline constexpr Failure kOnlyAtRoot{err::kOnlyAtRoot,
                                     "This command is only available at root level"};
inline constexpr Failure kIncorrectAppId{err::kIncorrectAppId, "Incorrect Application ID"};
inline constexpr Failure kCannotConnectPicc{err::kCannotConnectPicc,
                                            "Cannot connect to PICC application"};
inline constexpr Failure kAuthenticationFailure{err::kAuthenticationFailure,
                                                "Authentication failure"};
inline constexpr Failure kBadKeyNumber{err::kBadKeyNumber, "Bad key number"};
inline constexpr Failure kBadKeyLength{err::kBadKeyLength, "Bad key length"};
inline constexpr Failure kInvalidKey{err::kInvalidKey, "Invalid key"};
inline constexpr Failure kInvalidParameter{err::kInvalidParameter, "Invalid parameter"};
inline constexpr Failure kInvalidFileNumber{err::kInvalidFileNumber, "Invalid file number"};
inline constexpr Failure kInvalidCommSettings{err::kInvalidCommSettings,
                                              "Invalid communication settings"};
inline constexpr Failure kInvalidFileSize{err::kInvalidFileSize, "Invalid file size"};
inline constexpr Failure kInvalidLimits{err::kInvalidLimits, "Invalid limits"};
inline constexpr Failure kValueOutOfBounds{err::kValueOutOfBounds,
                                           "The value isn't between lower and upper bounds"};
inline constexpr Failure kInvalidRecordSize{err::kInvalidRecordSize, "Invalid record size"};
inline constexpr Failure kInvalidRecordCount{err::kInvalidRecordCount, "Invalid record count"};
inline constexpr Failure kWrongFileType{err::kWrongFileType,
                                        "This function can't be used with this type of file"};
inline constexpr Failure kInvalidOffset{err::kInvalidOffset, "Invalid offset value"};
inline constexpr Failure kInvalidLength{err::kInvalidLength, "Invalid length"};
inline constexpr Failure kFileNotFound{err::kFileNotFound, "File not found"};
inline constexpr Failure kInvalidAmount{err::kInvalidAmount, "Invalid amount"};
inline constexpr Failure kNoChanges{err::kNoChanges,
                                    "No changes in backup files, abort/commit not needed"};
inline constexpr Failure kValueExceedsLimits{err::kValueExceedsLimits,
                                             "Value stored in the file exceeds the limits"};
inline constexpr Failure kCreditExceedsLimit{err::kCreditExceedsLimit,
                                             "Credit amount exceeds the allowed limit"};
}  // namespace failure

}  // namespace lumivex
