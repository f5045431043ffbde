#include "component/variant.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace lumivex {

namespace {

// A text holding a decimal number ("12", " -3.5 ", "1E3"), blanks around it allowed.
std::optional<double> ParseNumber(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return std::nullopt;
  text = text.substr(first, text.find_last_not_of(" \t") - first + 1);
  bool negative = false;
  if (text.front() == '+' || text.front() == '-') {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  // from_chars would also take "inf" and "nan": only digits or a decimal point may start.
  if (text.empty() ||
      !(std::isdigit(static_cast<unsigned char>(text.front())) || text.front() == '.'))
    return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return negative ? -value : value;
}

// The value as a whole number, fractions rounded half to even; nullopt when it is not a number.
std::optional<double> RoundedNumber(const Variant& v) {
  double value = 0;
  if (const auto* b = v.AsByte()) {
    value = *b;
  } else if (const auto* i16 = v.AsInt16()) {
    value = *i16;
  } else if (const auto* i32 = v.AsInt32()) {
    value = *i32;
  } else if (const auto* flag = v.AsBool()) {
    value = *flag ? -1 : 0;
  } else if (const auto* f = v.AsSingle()) {
    value = *f;
  } else if (const auto* d = v.AsDouble()) {
    value = *d;
  } else if (const auto* c = v.AsCurrency()) {
    // Whole units, rounded half to even in integer arithmetic (the scaled value is exact).
    std::int64_t whole = c->scaled / 10000;
    const std::int64_t rest = c->scaled % 10000;
    const std::int64_t away = rest < 0 ? -1 : 1;
    if (std::abs(rest) > 5000 || (std::abs(rest) == 5000 && whole % 2 != 0)) whole += away;
    return static_cast<double>(whole);
  } else if (const auto* text = v.AsText()) {
    const auto parsed = ParseNumber(*text);
    if (!parsed) return std::nullopt;
    value = *parsed;
  } else {
    return std::nullopt;
  }
  if (!std::isfinite(value)) return std::nullopt;
  return std::nearbyint(value);  // the default rounding mode rounds half to even
}

}  // namespace

std::optional<std::uint8_t> Variant::ToByte() const {
  const auto value = RoundedNumber(*this);
  if (!value || *value < 0 || *value > 255) return std::nullopt;
  return static_cast<std::uint8_t>(*value);
}

std::optional<std::int32_t> Variant::ToInt32() const {
  const auto value = RoundedNumber(*this);
  if (!value || *value < std::numeric_limits<std::int32_t>::min() ||
      *value > std::numeric_limits<std::int32_t>::max())
    return std::nullopt;
  return static_cast<std::int32_t>(*value);
}

}  // namespace lumivex
