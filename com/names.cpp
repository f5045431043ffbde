#include "com/names.h"

#include <cctype>
#include <cstring>
#include <cwchar>

#include "com/bstr_text.h"

namespace lumivex::com {

bool SameName(const std::string& a, const char* b) {
  if (a.size() != std::strlen(b)) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

HRESULT LookupNames(LPOLESTR* names, UINT count, DISPID* ids, const MemberLookup& member,
                    const ParameterLookup& parameter) {
  if (count == 0) return S_OK;
  if (names == nullptr || ids == nullptr) return E_POINTER;
  const auto text = [&](UINT i) {
    return names[i] == nullptr ? std::string() : TextFromBstr(names[i], std::wcslen(names[i]));
  };
  HRESULT result = S_OK;
  ids[0] = member(text(0));
  if (ids[0] == DISPID_UNKNOWN) result = DISP_E_UNKNOWNNAME;
  for (UINT i = 1; i < count; ++i) {
    ids[i] = ids[0] == DISPID_UNKNOWN ? DISPID_UNKNOWN : parameter(ids[0], text(i));
    if (ids[i] == DISPID_UNKNOWN) result = DISP_E_UNKNOWNNAME;
  }
  return result;
}

}  // namespace lumivex::com
