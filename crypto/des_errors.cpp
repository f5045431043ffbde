#include "crypto/des_errors.h"

#include <array>
#include <cstdio>
#include <string>

#include "crypto/des_mode.h"

namespace lumivex::crypto {

void RaiseDesError(std::int32_t number) {
  const char* description = "Unknown error";
  switch (number) {
    case kDesBadKeyIndex:
      description = "Bad key index";
      break;
    case kDesBadParameterType:
      description = "Bad parameter type";
      break;
    case kDesInvalidHexString:
      description = "Invalid hexadecimal string";
      break;
    case kDesInvalidAlgorithm:
      description = "Invalid cipher algorithm";
      break;
    case kDesInvalidChaining:
      description = "Invalid chaining mode";
      break;
    case kDesBadPaddingMode:
      description = "Bad padding mode";
      break;
    default:
      break;
  }
  throw DesError(number, description);
}

void RaiseNotInCodePage(char32_t character) {
  std::array<char, 16> code{};
  (void)std::snprintf(code.data(), code.size(), "U+%04X", static_cast<unsigned>(character));
  throw DesError(kDesNotInCodePage,
                 (std::string("Character not in the code page: ") + code.data()).c_str());
}

namespace detail {

void CheckKeySlot(std::int16_t slot) {
  if (slot < 1 || slot > 3) RaiseDesError(kDesBadKeyIndex);
}

void CheckAlgorithm(std::int32_t mode) {
  const std::int32_t algorithm = mode & kAlgorithmBits;
  if (algorithm != static_cast<std::int32_t>(DesAlgorithm::kSingle) &&
      algorithm != static_cast<std::int32_t>(DesAlgorithm::kTriple)) {
    RaiseDesError(kDesInvalidAlgorithm);
  }
}

}  // namespace detail
}  // namespace lumivex::crypto
