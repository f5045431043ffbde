// Every member of the Encoder's automation surface, callable by its exact name from a script:
// its parameters (name, type, direction) and how to call it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "component/encoder.h"

namespace lumivex::cli {

enum class ArgType { Int32, Byte, Bool, Text, Variant };

struct ParamSpec {
  const char* name;
  ArgType type;
  bool byReference = false;  // in/out: its value after the call is printed
  bool optional = false;     // may be left out at the end of the line
};

// Storage of one argument during a call.
struct Slot {
  std::int32_t i4 = 0;
  std::uint8_t ui1 = 0;
  bool flag = false;
  std::string text;
  Variant variant;
  bool given = false;  // false for an optional argument left out
};
using Slots = std::vector<Slot>;

// What a call returned: a sceReturnCode, or the value of a function (text or number), or nothing.
struct CallResult {
  std::optional<sceReturnCode> code;
  std::optional<Variant> value;
};

struct MemberSpec {
  const char* name;
  std::vector<ParamSpec> params;
  std::function<CallResult(Encoder&, Slots&)> call;
};

struct PropertySpec {
  const char* name;
  std::function<Variant(Encoder&)> get;                   // null for a write-only property
  std::function<void(Encoder&, const std::string&)> set;  // null for a read-only property
};

const std::vector<MemberSpec>& Members();
const std::vector<PropertySpec>& Properties();
const MemberSpec* FindMember(const std::string& name);
const PropertySpec* FindProperty(const std::string& name);

// Converts a script word to the parameter's type; false with a message when it does not fit.
// Integers accept decimal, 0x / &H hexadecimal, the enumeration names of the type library and
// sums of them joined by + or |.
bool ParseArgument(const ParamSpec& param, const std::string& word, Slot& slot, std::string& error);

}  // namespace lumivex::cli
