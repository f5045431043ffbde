// The tool's view of the automation surface: every member of _Encoder callable by its exact name
// from a script (the table itself lives with the component, shared with the COM server), and the
// reading of script words as arguments.
#pragma once

#include <string>

#include "component/encoder.h"
#include "component/surface/member_info.h"

namespace lumivex::cli {

using surface::ArgType;
using surface::CallResult;
using surface::ParamInfo;
using surface::Slot;
using surface::Slots;
using MemberInfo = surface::MemberInfo;
using PropertyInfo = surface::MemberInfo;

// A method of _Encoder by its exact name; null for an unknown name or a property.
const MemberInfo* FindMember(const std::string& name);
// A property of _Encoder by its exact name; null for an unknown name or a method.
const PropertyInfo* FindProperty(const std::string& name);

// Converts a script word to the parameter's type; false with a message when it does not fit.
// Integers accept decimal, 0x / &H hexadecimal, the enumeration names of the type library and
// sums of them joined by + or |.
bool ParseArgument(const ParamInfo& param, const std::string& word, Slot& slot, std::string& error);

}  // namespace lumivex::cli
