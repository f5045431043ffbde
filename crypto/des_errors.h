// The numbered errors of the cipher, the hex codec and ConvertData (the values the component
// records, see component/error_codes.h, which must stay identical), and DesError that carries them.
#pragma once

#include <cstdint>
#include <stdexcept>

namespace lumivex::crypto {

inline constexpr std::int32_t kDesBadKeyIndex = static_cast<std::int32_t>(0xA0010001);
inline constexpr std::int32_t kDesBadParameterType = static_cast<std::int32_t>(0xA0010002);
inline constexpr std::int32_t kDesInvalidHexString = static_cast<std::int32_t>(0xA0010003);
inline constexpr std::int32_t kDesInvalidAlgorithm = static_cast<std::int32_t>(0xA0010004);
inline constexpr std::int32_t kDesInvalidChaining = static_cast<std::int32_t>(0xA0010005);
inline constexpr std::int32_t kDesBadPaddingMode = static_cast<std::int32_t>(0xA0010006);
inline constexpr std::int32_t kDesNotInCodePage = static_cast<std::int32_t>(0xA0010007);

// A numbered error (0xA0010001..0xA0010007) with its description; the caller decides what to
// record.
class DesError : public std::runtime_error {
 public:
  DesError(std::int32_t number, const char* description)
      : std::runtime_error(description), number_(number) {}
  [[nodiscard]] std::int32_t number() const { return number_; }

 private:
  std::int32_t number_;
};

// Throws DesError with the number and its description ("Bad key index", ...).
[[noreturn]] void RaiseDesError(std::int32_t number);
// Throws kDesNotInCodePage: "Character not in the code page: U+0100" (the character's code).
[[noreturn]] void RaiseNotInCodePage(char32_t character);

namespace detail {

// The checks the byte cipher and the text layer both make before anything else.
void CheckKeySlot(std::int16_t slot);    // 1..3, else "Bad key index"
void CheckAlgorithm(std::int32_t mode);  // single or triple, else "Invalid cipher algorithm"

}  // namespace detail
}  // namespace lumivex::crypto
