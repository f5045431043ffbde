#include "cli/member_table.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <string_view>

namespace lumivex::cli {

namespace {

bool ParseOneInteger(std::string_view word, std::int64_t& value) {
  if (word.empty()) return false;
  if (const auto* named = surface::FindEnumMember(std::string(word))) {
    value = named->value;
    return true;
  }
  bool negative = false;
  if (word.front() == '-' || word.front() == '+') {
    negative = word.front() == '-';
    word.remove_prefix(1);
  }
  int base = 10;
  if (word.size() > 2 && (word.substr(0, 2) == "0x" || word.substr(0, 2) == "0X" ||
                          word.substr(0, 2) == "&H" || word.substr(0, 2) == "&h")) {
    base = 16;
    word.remove_prefix(2);
  }
  std::uint64_t magnitude = 0;
  const auto* end = word.data() + word.size();
  auto [ptr, ec] = std::from_chars(word.data(), end, magnitude, base);
  if (ec != std::errc() || ptr != end || word.empty()) return false;
  if (magnitude > 0xFFFFFFFFULL) return false;
  value = negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
  return true;
}

// Integers and enumeration names joined by + (added) or | (or-ed), left to right.
bool ParseInteger(const std::string& word, std::int64_t& value) {
  value = 0;
  char op = '+';
  std::size_t start = 0;
  for (std::size_t i = 0; i <= word.size(); ++i) {
    const bool atOperator = i < word.size() && (word[i] == '+' || word[i] == '|') && i > start;
    if (i != word.size() && !atOperator) continue;
    std::int64_t part = 0;
    if (!ParseOneInteger(std::string_view(word).substr(start, i - start), part)) return false;
    value = op == '|' ? (value | part) : value + part;
    if (i < word.size()) op = word[i];
    start = i + 1;
  }
  return true;
}

}  // namespace

bool ParseArgument(const ParamInfo& param, const std::string& word, Slot& slot,
                   std::string& error) {
  slot.given = true;
  std::int64_t number = 0;
  switch (param.type) {
    case ArgType::None:
    case ArgType::Object:
      break;
    case ArgType::Text:
      slot.text = word;
      return true;
    case ArgType::Variant:
      // A number becomes a 32-bit integer, anything else a text (which may not convert later).
      if (ParseInteger(word, number) && number >= INT32_MIN && number <= 0xFFFFFFFFLL) {
        slot.variant =
            Variant::FromInt32(static_cast<std::int32_t>(static_cast<std::uint32_t>(number)));
      } else {
        slot.variant = Variant::FromText(word);
      }
      return true;
    case ArgType::Bool: {
      std::string lower = word;
      std::transform(lower.begin(), lower.end(), lower.begin(),
                     [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
      if (lower == "true" || lower == "1" || lower == "-1" || lower == "yes") {
        slot.flag = true;
        return true;
      }
      if (lower == "false" || lower == "0" || lower == "no") {
        slot.flag = false;
        return true;
      }
      error = std::string(param.name) + " must be True or False, not '" + word + "'";
      return false;
    }
    case ArgType::Int32:
      if (!ParseInteger(word, number) || number < INT32_MIN || number > 0xFFFFFFFFLL) {
        error = std::string(param.name) + " must be a 32-bit integer, not '" + word + "'";
        return false;
      }
      slot.i4 = static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
      return true;
    case ArgType::Byte:
      if (!ParseInteger(word, number) || number < 0 || number > 255) {
        error = std::string(param.name) + " must be a byte (0..255), not '" + word + "'";
        return false;
      }
      slot.ui1 = static_cast<std::uint8_t>(number);
      return true;
  }
  return false;
}

const MemberInfo* FindMember(const std::string& name) {
  const MemberInfo* member = surface::FindEncoderMember(name);
  return member != nullptr && member->kind == surface::MemberKind::Method ? member : nullptr;
}

const PropertyInfo* FindProperty(const std::string& name) {
  const MemberInfo* member = surface::FindEncoderMember(name);
  return member != nullptr && member->kind == surface::MemberKind::Property ? member : nullptr;
}

}  // namespace lumivex::cli
