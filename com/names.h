// IDispatch::GetIDsOfNames over the member tables: names are matched without regard to case, as
// automation clients expect; the first name is the member, the others its parameters.
#pragma once

#include <oaidl.h>

#include <functional>
#include <string>

namespace lumivex::com {

using MemberLookup = std::function<DISPID(const std::string& name)>;
using ParameterLookup = std::function<DISPID(DISPID member, const std::string& name)>;

HRESULT LookupNames(LPOLESTR* names, UINT count, DISPID* ids, const MemberLookup& member,
                    const ParameterLookup& parameter);

// True when two names are the same but for the case of ASCII letters.
bool SameName(const std::string& a, const char* b);

}  // namespace lumivex::com
