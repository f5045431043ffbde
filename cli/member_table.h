// The tool's view of the automation surface: every member of _Encoder callable by its exact name
// from a script (the table itself lives with the component, shared with the COM server), and the
// reading of script words as arguments.
#pragma once

#include <string>

#include "component/encoder.h"
#include "component/surface/member_spec.h"

namespace lumivex::cli {

using surface::ArgType;
using surface::CallResult;
using surface::ParamSpec;
using surface::Slot;
using surface::Slots;
using MemberSpec = surface::MemberSpec;
using PropertySpec = surface::MemberSpec;

// A method of _Encoder by its exact name; null for an unknown name or a property.
const MemberSpec* FindMember(const std::string& name);
// A property of _Encoder by its exact name; null for an unknown name or a method.
const PropertySpec* FindProperty(const std::string& name);

// Converts a script word to the parameter's type; false with a message when it does not fit.
// Integers accept decimal, 0x / &H hexadecimal, the enumeration names of the type library and
// sums of them joined by + or |.
bool ParseArgument(const ParamSpec& param, const std::string& word, Slot& slot, std::string& error);

}  // namespace lumivex::cli
