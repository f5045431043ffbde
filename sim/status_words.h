// Status words the simulated reader and cards answer, and helpers to build response APDUs.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace lumivex::sim {

namespace sw {
constexpr std::uint16_t kSuccess = 0x9000;
constexpr std::uint16_t kWrongLength = 0x6700;
constexpr std::uint16_t kAccessDenied = 0x6982;  // wrong key, or the access bits refuse it
constexpr std::uint16_t kKeyNumberInvalid = 0x6988;
constexpr std::uint16_t kFunctionNotSupported = 0x6A81;
constexpr std::uint16_t kNotFound = 0x6A82;  // block out of range
constexpr std::uint16_t kWrongParameters = 0x6B00;
constexpr std::uint16_t kUnknownInstruction = 0x6D00;
constexpr std::uint16_t kClassNotSupported = 0x6E00;
}  // namespace sw

// A response APDU of only a status word.
inline std::vector<std::uint8_t> StatusOnly(std::uint16_t word) {
  return {static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word & 0xFF)};
}

// A response APDU of data followed by a status word.
inline std::vector<std::uint8_t> WithStatus(std::span<const std::uint8_t> data,
                                            std::uint16_t word) {
  std::vector<std::uint8_t> response(data.begin(), data.end());
  response.push_back(static_cast<std::uint8_t>(word >> 8));
  response.push_back(static_cast<std::uint8_t>(word & 0xFF));
  return response;
}

}  // namespace lumivex::sim
