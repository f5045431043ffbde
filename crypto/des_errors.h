// The numbered errors the DES class raises (the values the component records, see
// component/error_codes.h, which must stay identical).
#pragma once

#include <cstdint>

namespace lumivex::crypto {

inline constexpr std::int32_t kDesBadKeyIndex = static_cast<std::int32_t>(0xA0010001);
inline constexpr std::int32_t kDesBadParameterType = static_cast<std::int32_t>(0xA0010002);
inline constexpr std::int32_t kDesInvalidHexString = static_cast<std::int32_t>(0xA0010003);
inline constexpr std::int32_t kDesInvalidAlgorithm = static_cast<std::int32_t>(0xA0010004);
inline constexpr std::int32_t kDesInvalidChaining = static_cast<std::int32_t>(0xA0010005);
inline constexpr std::int32_t kDesBadPaddingMode = static_cast<std::int32_t>(0xA0010006);
inline constexpr std::int32_t kDesNotInCodePage = static_cast<std::int32_t>(0xA0010007);

// Throws DesError with the number and its description ("Bad key index", ...).
[[noreturn]] void RaiseDesError(std::int32_t number);
// Throws kDesNotInCodePage: "Character not in the code page: U+0100" (the character's code).
[[noreturn]] void RaiseNotInCodePage(char32_t character);

}  // namespace lumivex::crypto
