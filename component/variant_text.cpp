#include "component/variant_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace lumivex {

namespace {

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

// The proleptic Gregorian date of a day count from 1970-01-01.
CivilDate CivilFromDays(std::int64_t z) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  return {static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2 ? 1 : 0), m, d};
}

constexpr std::int64_t kDaysFrom1899To1970 = 25569;  // 1899-12-30 .. 1970-01-01
// The automation date range, 0100-01-01 .. 9999-12-31, lies strictly between these day counts
// (from 1899-12-30; a negative date's fraction is still the time of its day).
constexpr double kDayBeforeFirst = -657435.0;
constexpr double kDayAfterLast = 2958466.0;

}  // namespace

std::string NumberText(double value, int significantDigits) {
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                    std::chars_format::general, significantDigits);
  std::string text(buffer.data(), result.ptr);
  const auto e = text.find('e');
  if (e != std::string::npos) text[e] = 'E';  // two exponent digits at least: "1E-05"
  return text;
}

std::string GeneralDateText(double days) {
  // Outside the range a value is no date (and would not fit the integer day count below).
  if (!std::isfinite(days) || days <= kDayBeforeFirst || days >= kDayAfterLast) return {};
  auto whole = static_cast<std::int64_t>(std::trunc(days));
  auto seconds =
      static_cast<std::int64_t>(std::llround(std::fabs(days - std::trunc(days)) * 86400));
  if (seconds >= 86400) {
    seconds -= 86400;
    whole += 1;
  }
  const CivilDate date = CivilFromDays(whole - kDaysFrom1899To1970);
  std::array<char, 80> buffer{};  // room for any year the format can be given
  const long long hh = seconds / 3600;
  const long long mm = seconds / 60 % 60;
  const long long ss = seconds % 60;
  if (whole == 0) {
    (void)std::snprintf(buffer.data(), buffer.size(), "%02lld:%02lld:%02lld", hh, mm, ss);
  } else if (seconds == 0) {
    (void)std::snprintf(buffer.data(), buffer.size(), "%04lld-%02u-%02u",
                        static_cast<long long>(date.year), date.month, date.day);
  } else {
    (void)std::snprintf(buffer.data(), buffer.size(), "%04lld-%02u-%02u %02lld:%02lld:%02lld",
                        static_cast<long long>(date.year), date.month, date.day, hh, mm, ss);
  }
  return buffer.data();
}

std::optional<std::string> VariantToText(const Variant& value) {
  switch (value.kind()) {
    case Variant::Kind::Empty:
      return std::string();
    case Variant::Kind::Byte:
      return std::to_string(*value.AsByte());
    case Variant::Kind::Int16:
      return std::to_string(*value.AsInt16());
    case Variant::Kind::Int32:
      return std::to_string(*value.AsInt32());
    case Variant::Kind::Bool:
      return std::string(*value.AsBool() ? "True" : "False");
    case Variant::Kind::Single:
      return NumberText(*value.AsSingle(), 7);
    case Variant::Kind::Double:
      return NumberText(*value.AsDouble(), 15);
    case Variant::Kind::Currency: {
      const std::int64_t scaled = value.AsCurrency()->scaled;
      const std::uint64_t magnitude =
          scaled < 0 ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
      std::string text;
      if (scaled < 0) text.push_back('-');
      text.append(std::to_string(magnitude / 10000));
      const std::string fraction = std::to_string(10000 + magnitude % 10000);  // "1xxxx"
      const std::size_t last = fraction.find_last_not_of('0');
      if (last > 0) text.append(".").append(fraction, 1, last);
      return text;
    }
    case Variant::Kind::Date:
      return GeneralDateText(value.AsDate()->days);
    case Variant::Kind::Text:
      return *value.AsText();
    case Variant::Kind::Bytes:
      return std::string(value.AsBytes()->begin(), value.AsBytes()->end());
    case Variant::Kind::Null:
    case Variant::Kind::Error:
      break;
  }
  return std::nullopt;
}

}  // namespace lumivex
