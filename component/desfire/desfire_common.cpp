#include "component/desfire/desfire_common.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace lumivex::desfire {

sceReturnCode Record(CError& record, const Failure& failure, const std::string& function,
                     std::optional<std::string> rdrCommand, std::optional<std::string> rdrRetCode) {
  record.Number(failure.number);
  record.Description(failure.text);
  record.ComFunction(function);
  if (rdrCommand) record.RdrCommand(std::move(*rdrCommand));
  if (rdrRetCode) record.RdrRetCode(std::move(*rdrRetCode));
  return sceError;
}

std::string Hex2(std::int32_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<std::uint32_t>(value) & 0xFFU;
  return {kDigits[byte >> 4U], kDigits[byte & 0x0FU]};
}

std::string Le24(std::int32_t value) {
  const auto v = static_cast<std::uint32_t>(value);
  return Hex2(static_cast<std::int32_t>(v & 0xFFU)) +
         Hex2(static_cast<std::int32_t>((v >> 8U) & 0xFFU)) +
         Hex2(static_cast<std::int32_t>((v >> 16U) & 0xFFU));
}

std::string Le32(std::int32_t value) {
  const auto v = static_cast<std::uint32_t>(value);
  return Le24(value) + Hex2(static_cast<std::int32_t>(v >> 24U));
}

std::string AccessRights(std::int32_t keyReadWrite, std::int32_t keyManage, std::int32_t keyRead,
                         std::int32_t keyWrite) {
  // Each right is one digit; the two bytes come out least significant byte first on the wire.
  return Hex2(keyReadWrite).substr(1) + Hex2(keyManage).substr(1) + Hex2(keyRead).substr(1) +
         Hex2(keyWrite).substr(1);
}

std::optional<std::uint8_t> ByteAt(const std::string& hex, std::size_t index) {
  if (hex.size() < 2 * index + 2) return std::nullopt;
  unsigned value = 0;
  for (std::size_t i = 2 * index; i < 2 * index + 2; ++i) {
    const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(hex[i])));
    if (c >= '0' && c <= '9') {
      value = value * 16 + static_cast<unsigned>(c - '0');
    } else if (c >= 'A' && c <= 'F') {
      value = value * 16 + static_cast<unsigned>(c - 'A' + 10);
    } else {
      return std::nullopt;
    }
  }
  return static_cast<std::uint8_t>(value);
}

std::optional<std::int32_t> ReadLe32(const std::string& hex) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto byte = ByteAt(hex, i);
    if (!byte) return std::nullopt;
    value |= static_cast<std::uint32_t>(*byte) << (8U * i);
  }
  return static_cast<std::int32_t>(value);
}

std::string RemoveBlanks(std::string text) {
  std::erase(text, ' ');
  return text;
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string RotateLeftOneByte(const std::string& hex) {
  if (hex.size() < 2) return hex;
  return hex.substr(2) + hex.substr(0, 2);
}

std::string AsText(const crypto::ConvertValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  return {};
}

}  // namespace lumivex::desfire
