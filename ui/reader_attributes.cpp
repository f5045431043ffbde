#include "ui/reader_attributes.h"

#include <algorithm>

namespace lumivex::ui {

std::vector<std::uint8_t> ReadAttribute(PcscApi& pcsc, PcscHandle card, PcscDword attributeId) {
  std::vector<std::uint8_t> value;
  try {
    PcscDword length = 0;
    if (pcsc.GetAttrib(card, attributeId, nullptr, &length) != 0 || length == 0) return value;
    value.resize(length);
    if (pcsc.GetAttrib(card, attributeId, value.data(), &length) != 0) return {};
    value.resize(std::min<std::size_t>(length, value.size()));
  } catch (const PcscCallError&) {
    value.clear();
  }
  return value;
}

std::string AttributeText(const std::vector<std::uint8_t>& value) {
  if (value.size() < 2) return "";
  const auto end = std::find(value.begin(), value.end(), std::uint8_t{0});
  return {value.begin(), end};
}

std::string AttributeVersion(const std::vector<std::uint8_t>& value) {
  if (value.empty()) return "";
  auto at = [&](std::size_t i) -> unsigned { return i < value.size() ? value[i] : 0U; };
  return std::to_string(at(0)) + "." + std::to_string(at(1)) + "." +
         std::to_string(at(2) | (at(3) << 8U));
}

}  // namespace lumivex::ui
