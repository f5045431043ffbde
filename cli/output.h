// How the tool prints values: plain text for people, one JSON object per line for programs.
#pragma once

#include <string>
#include <string_view>

#include "component/cerror.h"
#include "component/types.h"
#include "component/variant.h"

namespace lumivex::cli {

std::string ReturnCodeName(sceReturnCode code);
std::string JsonString(std::string_view text);
// Text form: numbers in decimal, byte arrays as compact upper-case hexadecimal, texts as they are.
std::string VariantText(const Variant& value);
// JSON form: numbers as numbers, byte arrays as compact upper-case hexadecimal strings.
std::string VariantJson(const Variant& value);
// The error number as eight upper-case hexadecimal digits.
std::string NumberHex(std::int32_t number);
// The six fields of the last-error record, one "  LastError.Field = value" line each.
std::string LastErrorText(const CError& error);
// {"Number": ..., "NumberHex": ..., "Description": ..., ...}
std::string LastErrorJson(const CError& error);

}  // namespace lumivex::cli
