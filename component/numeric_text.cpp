#include "component/numeric_text.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace lumivex {

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

double LeadingNumber(std::string_view text) {
  // Blanks, tabs and line breaks do not end the number: "1 000" reads as 1000.
  std::string compact;
  for (const char c : text) {
    if (!IsBlank(c)) compact += c;
  }
  std::string number;
  std::size_t i = 0;
  bool negative = false;
  if (i < compact.size() && (compact[i] == '+' || compact[i] == '-'))
    negative = compact[i++] == '-';
  bool digits = false;
  while (i < compact.size() && IsDigit(compact[i])) {
    number += compact[i++];
    digits = true;
  }
  if (i < compact.size() && compact[i] == '.') {
    number += compact[i++];
    while (i < compact.size() && IsDigit(compact[i])) {
      number += compact[i++];
      digits = true;
    }
  }
  if (!digits) return 0.0;
  // An exponent counts only when digits follow it ("1e" reads as 1); D is the double-precision
  // exponent letter some hosts write.
  if (i < compact.size() &&
      (compact[i] == 'e' || compact[i] == 'E' || compact[i] == 'd' || compact[i] == 'D')) {
    std::size_t j = i + 1;
    std::string exponent = "e";
    if (j < compact.size() && (compact[j] == '+' || compact[j] == '-')) exponent += compact[j++];
    if (j < compact.size() && IsDigit(compact[j])) {
      while (j < compact.size() && IsDigit(compact[j])) exponent += compact[j++];
      number += exponent;
    }
  }
  // from_chars ignores the process locale (a host running with a decimal comma reads "2.5" too).
  double value = 0.0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  (void)end;
  if (error == std::errc::result_out_of_range) {
    // Too large a magnitude saturates; too small a one is zero.
    const bool huge =
        number.find('e') != std::string::npos && number.find("e-") == std::string::npos;
    value = huge ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return negative ? -value : value;
}

std::int32_t RoundToInt32(double value) {
  if (std::isnan(value)) return 0;
  constexpr double kMin = std::numeric_limits<std::int32_t>::min();
  constexpr double kMax = std::numeric_limits<std::int32_t>::max();
  if (value <= kMin) return std::numeric_limits<std::int32_t>::min();
  if (value >= kMax) return std::numeric_limits<std::int32_t>::max();
  // Explicit halves-to-even: the floating-point rounding mode belongs to the host process.
  const double floor = std::floor(value);
  const double fraction = value - floor;
  double rounded = floor;
  if (fraction > 0.5 || (fraction == 0.5 && std::fmod(floor, 2.0) != 0.0)) rounded = floor + 1.0;
  return static_cast<std::int32_t>(rounded);
}

}  // namespace lumivex
