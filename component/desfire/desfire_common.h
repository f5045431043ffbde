// What the DESFire operations of the Encoder share: their error numbers with their texts, the
// wire forms of numbers (least significant byte first), the guard that keeps every failure inside
// the operation, and a text holder that wipes key material when it goes out of scope.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "component/cerror.h"
#include "component/error_codes.h"
#include "component/types.h"
#include "crypto/des.h"
#include "crypto/secure_memory.h"

namespace lumivex::desfire {

// One failure the DESFire operations record: its number and its text.
struct Failure {
  std::int32_t number;
  const char* text;
};

namespace fail {
inline constexpr Failure OperationFailed{err::kOperationFailed, "The requested operation failed"};
inline constexpr Failure NotAuthenticated{err::kNotAuthenticated, "Not authenticated"};
inline constexpr Failure OnlyAtRoot{err::kOnlyAtRoot,
                                    "This command is only available at root level"};
inline constexpr Failure IncorrectAppId{err::kIncorrectAppId, "Incorrect Application ID"};
inline constexpr Failure CannotConnectPicc{err::kCannotConnectPicc,
                                           "Cannot connect to PICC application"};
inline constexpr Failure AuthenticationFailure{err::kAuthenticationFailure,
                                               "Authentication failure"};
inline constexpr Failure BadKeyNumber{err::kBadKeyNumber, "Bad key number"};
inline constexpr Failure BadKeyLength{err::kBadKeyLength, "Bad key length"};
inline constexpr Failure InvalidKey{err::kInvalidKey, "Invalid key"};
inline constexpr Failure InvalidParameter{err::kInvalidParameter, "Invalid parameter"};
inline constexpr Failure InvalidFileNumber{err::kInvalidFileNumber, "Invalid file number"};
inline constexpr Failure InvalidCommSettings{err::kInvalidCommSettings,
                                             "Invalid communication settings"};
inline constexpr Failure InvalidFileSize{err::kInvalidFileSize, "Invalid file size"};
inline constexpr Failure InvalidLimits{err::kInvalidLimits, "Invalid limits"};
inline constexpr Failure ValueOutOfBounds{err::kValueOutOfBounds,
                                          "The value isn't between lower and upper bounds"};
inline constexpr Failure InvalidRecordSize{err::kInvalidRecordSize, "Invalid record size"};
inline constexpr Failure InvalidRecordCount{err::kInvalidRecordCount, "Invalid record count"};
inline constexpr Failure WrongFileType{err::kWrongFileType,
                                       "This function can't be used with this type of file"};
inline constexpr Failure InvalidOffset{err::kInvalidOffset, "Invalid offset value"};
inline constexpr Failure InvalidLength{err::kInvalidLength, "Invalid length"};
inline constexpr Failure FileNotFound{err::kFileNotFound, "File not found"};
inline constexpr Failure InvalidAmount{err::kInvalidAmount, "Invalid amount"};
inline constexpr Failure NoChanges{err::kNoChanges,
                                   "No changes in backup files, abort/commit not needed"};
inline constexpr Failure ValueExceedsLimits{err::kValueExceedsLimits,
                                            "Value stored in the file exceeds the limits"};
inline constexpr Failure CreditExceedsLimit{err::kCreditExceedsLimit,
                                            "Credit amount exceeds the allowed limit"};
}  // namespace fail

// Status words of the card's native answers, as the command engine reports them.
inline constexpr std::string_view kSwOk = "9100";
inline constexpr std::string_view kSwMore = "91AF";
inline constexpr std::string_view kSwNothingReceived = "FFFF";
inline constexpr std::string_view kSwNoChanges = "910C";
inline constexpr std::string_view kSwBoundary = "91BE";
inline constexpr std::string_view kSwFileNotFound = "91F0";

// The largest size, offset, length or record count that three bytes carry.
inline constexpr std::int32_t kMax24 = 0xFFFFFF;

// Writes a failure into the record: number, text and calling function, and the reader-side
// command and answer when given (fields not given keep their value). Returns sceError.
sceReturnCode Record(CError& record, const Failure& failure, const std::string& function,
                     std::optional<std::string> rdrCommand = std::nullopt,
                     std::optional<std::string> rdrRetCode = std::nullopt);

// Runs the body of a public operation so that nothing escapes it: a cipher error is recorded with
// its own number and text, any other exception as "The requested operation failed".
template <typename Body>
sceReturnCode Guarded(CError& record, const std::string& function, Body&& body) {
  try {
    return body();
  } catch (const crypto::DesError& e) {
    record.Number(e.number());
    record.Description(e.what());
    record.ComFunction(function);
    return sceError;
  } catch (const std::exception& e) {
    return Record(record, fail::OperationFailed, function, std::nullopt, e.what());
  } catch (...) {
    return Record(record, fail::OperationFailed, function);
  }
}

// The low byte of a number as two upper-case hexadecimal digits.
std::string Hex2(std::int32_t value);
// Three bytes, least significant first (sizes, offsets, lengths, record counts).
std::string Le24(std::int32_t value);
// Four bytes, least significant first, two's complement for negatives (limits, values, amounts).
std::string Le32(std::int32_t value);
// The two bytes of access rights: read-and-write, change, read, write, one digit each.
std::string AccessRights(std::int32_t keyReadWrite, std::int32_t keyManage, std::int32_t keyRead,
                         std::int32_t keyWrite);
// Bytes of compact hexadecimal text: the number at byte `index`, or nothing past the end.
std::optional<std::uint8_t> ByteAt(const std::string& hex, std::size_t index);
// A signed 32-bit value read from four bytes, least significant first.
std::optional<std::int32_t> ReadLe32(const std::string& hex);

std::string RemoveBlanks(std::string text);
std::string Upper(std::string text);
// Digits 3 and on followed by digits 1 and 2: a random number turned left by one byte.
std::string RotateLeftOneByte(const std::string& hex);

// A ConvertData result as text (empty input gives no value at all, read here as "").
std::string AsText(const crypto::ConvertValue& value);

// Holds key material as text and wipes it when the holder goes away.
class SecretText {
 public:
  SecretText() { text_.reserve(kReserve); }
  explicit SecretText(std::string_view text) {
    text_.reserve(text.size() > kReserve ? text.size() : kReserve);
    text_.assign(text);
  }
  // Takes a temporary result (a deciphered number, a cryptogram) and wipes the temporary.
  explicit SecretText(std::string&& text) : SecretText(std::string_view(text)) {
    crypto::SecureWipe(text);
  }
  ~SecretText() { crypto::SecureWipe(text_); }
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;

  [[nodiscard]] std::string& str() { return text_; }
  [[nodiscard]] const std::string& str() const { return text_; }

 private:
  static constexpr std::size_t kReserve = 64;  // every key text fits without reallocating
  std::string text_;
};

}  // namespace lumivex::desfire
