// Texts of variant values, locale-neutral: "." as decimal point, dates as yyyy-mm-dd hh:mm:ss.
#pragma once

#include <optional>
#include <string>

#include "component/variant.h"

namespace lumivex {

// A number with at most `significantDigits` significant digits, no leading blank, exponent as
// "E+20" ("1.5", "-0.25", "1E+20", "1E-05").
std::string NumberText(double value, int significantDigits);

// The "General date" text of an automation date: "yyyy-mm-dd hh:mm:ss"; only the date
// ("yyyy-mm-dd") when the time is midnight, only the time ("hh:mm:ss") on day 0 (1899-12-30).
// The time is rounded to the second.
std::string GeneralDateText(double days);

// The value as text: numbers as NumberText (15 digits for double, 7 for single, currency with
// up to four decimals), booleans "True"/"False", dates as GeneralDateText, Empty as "", a byte
// array as its raw bytes. nullopt for Null and Error values.
std::optional<std::string> VariantToText(const Variant& value);

}  // namespace lumivex
