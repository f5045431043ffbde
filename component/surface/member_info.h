// The automation surface described once: every member of _Encoder and _CError with its kind, its
// parameters (name, type, direction, optional) and how to call it on the core objects. The command-
// line tool, the COM dispatch and the interface description (IDL) are all read from these tables,
// so they cannot drift apart.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "component/cerror.h"
#include "component/types.h"
#include "component/variant.h"

namespace lumivex {
class Encoder;
}

namespace lumivex::surface {

// The automation type of an argument or a result.
enum class ArgType {
  None,     // a member without result
  Int32,    // long (or an enumeration of the type library, see enumType)
  Byte,     // unsigned char
  Bool,     // VARIANT_BOOL
  Text,     // BSTR
  Variant,  // VARIANT
  Object,   // the _CError record
};

struct ParamInfo {
  const char* name;
  ArgType type;
  bool byReference = false;        // [in, out]: its value after the call goes back to the caller
  bool optional = false;           // may be left out
  const char* enumType = nullptr;  // the enumeration an Int32 belongs to, if any
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

enum class MemberKind { Method, Property };

struct MemberInfo {
  const char* name;
  MemberKind kind;
  std::int32_t dispid;
  // Methods: their result (None, Int32 with enumType "sceReturnCode", or Text).
  // Properties: the type of their value.
  ArgType result;
  const char* resultEnum;
  std::vector<ParamInfo> params;                          // methods only
  std::function<CallResult(Encoder&, Slots&)> call;       // methods only
  std::function<Variant(Encoder&)> get;                   // properties; null when write-only
  std::function<void(Encoder&, const std::string&)> set;  // properties; null when read-only
};

// A property of the last-error record, read and written as a Variant of its type.
struct RecordPropertyInfo {
  const char* name;
  std::int32_t dispid;
  ArgType type;  // Int32 or Text
  std::function<Variant(const CError&)> get;
  std::function<void(CError&, const Variant&)> set;
};

struct EnumMember {
  const char* name;
  std::int32_t value;
};
struct EnumInfo {
  const char* name;
  std::vector<EnumMember> members;
};

// The members of _Encoder in the order of the interface (Parameters first).
const std::vector<MemberInfo>& EncoderMembers();
// The six properties of _CError, in the order of the interface.
const std::vector<RecordPropertyInfo>& RecordProperties();
// The enumerations of the type library, with their members in declaration order.
const std::vector<EnumInfo>& Enumerations();

// Lookups by exact name; null when there is none.
const MemberInfo* FindEncoderMember(const std::string& name);
const EnumMember* FindEnumMember(const std::string& name);

}  // namespace lumivex::surface
