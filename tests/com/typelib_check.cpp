// Reads the type library embedded in the DLL (resource 1) and checks it against the component's
// surface tables: every enumeration with its members and values, and every member of _Encoder
// and _CError with its DISPID. Writes the enumerations as VBScript constants to the file named on
// the command line, so the VBScript suite works with the values the type library declares.
#include <windows.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "Orbanet_Lumivex_BL.h"
#include "com/bstr_text.h"
#include "com/com_ptr.h"
#include "component/surface/identity.h"
#include "component/surface/member_info.h"
#include "tests/com/check.h"

namespace {

using lumivex::com::ComPtr;
using lumivex::com::TextFromBstr;
namespace surface = lumivex::surface;

std::string Name(ITypeInfo* info, MEMBERID id) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  std::string text = TextFromBstr(name);
  SysFreeString(name);
  return text;
}

// name -> DISPID of the functions of a dispatch view (property accessors share their DISPID).
std::map<std::string, MEMBERID> Functions(ITypeInfo* info) {
  std::map<std::string, MEMBERID> ids;
  TYPEATTR* a = nullptr;
  info->GetTypeAttr(&a);
  for (UINT i = 0; i < a->cFuncs; ++i) {
    FUNCDESC* f = nullptr;
    info->GetFuncDesc(i, &f);
    if (f->memid > 0 && f->memid < 0x10000) ids[Name(info, f->memid)] = f->memid;
    info->ReleaseFuncDesc(f);
  }
  info->ReleaseTypeAttr(a);
  return ids;
}

// The members of a surface table the interface lacks or gives another DISPID; empty when the
// interface has exactly the table's members with their DISPIDs.
template <typename Table>
std::string Mismatched(ITypeInfo* info, const Table& table) {
  const auto ids = Functions(info);
  std::string wrong = ids.size() == table.size() ? "" : " (" + std::to_string(ids.size()) + ")";
  for (const auto& m : table) {
    const auto found = ids.find(m.name);
    if (found == ids.end() || found->second != m.dispid) wrong += std::string(" ") + m.name;
  }
  return wrong;
}

}  // namespace

int main(int argc, char** argv) {
  lumivex::wine::Checks check("typelib_check");
  if (argc != 3) {
    std::printf("usage: typelib_check DLL OUTPUT.vbs\n");
    return 100;
  }
  ComPtr<ITypeLib> library;
  const std::wstring dll = lumivex::com::WideFromText(argv[1]);
  if (!check.That(SUCCEEDED(LoadTypeLibEx(dll.c_str(), REGKIND_NONE, library.Receive())),
                  "LoadTypeLibEx finds the type library in the DLL")) {
    return check.Finish();
  }
  // The enumerations as VBScript constants, from the type library and from the surface tables
  // (from which the IDL is written, so in the same order).
  std::string constants;
  for (UINT t = 0; t < library->GetTypeInfoCount(); ++t) {
    ComPtr<ITypeInfo> info;
    library->GetTypeInfo(t, info.Receive());
    TYPEATTR* a = nullptr;
    info->GetTypeAttr(&a);
    for (UINT v = 0; a->typekind == TKIND_ENUM && v < a->cVars; ++v) {
      VARDESC* var = nullptr;
      info->GetVarDesc(v, &var);
      constants += "Const " + Name(info.Get(), var->memid) + " = " +
                   std::to_string(V_I4(var->lpvarValue)) + "\r\n";
      info->ReleaseVarDesc(var);
    }
    info->ReleaseTypeAttr(a);
  }
  std::string declared;
  for (const auto& e : surface::Enumerations()) {
    for (const auto& m : e.members) {
      declared += "Const " + std::string(m.name) + " = " + std::to_string(m.value) + "\r\n";
    }
  }
  check.That(!constants.empty() && constants == declared,
             "the enumerations, every member with its value, as the surface tables declare them");
  std::ofstream(argv[2], std::ios::binary)
      << "' The enumerations of the type library, read from the DLL by typelib_check.\r\n"
      << constants;

  ComPtr<ITypeInfo> encoder;
  ComPtr<ITypeInfo> record;
  library->GetTypeInfoOfGuid(__uuidof(::_Encoder), encoder.Receive());
  library->GetTypeInfoOfGuid(__uuidof(::_CError), record.Receive());
  if (check.That(encoder && record, "the type library holds _Encoder and _CError")) {
    const std::string encoderWrong = Mismatched(encoder.Get(), surface::EncoderMembers());
    check.That(encoderWrong.empty(), "_Encoder: the members with the DISPIDs of the dispatch" +
                                         (encoderWrong.empty() ? "" : ", wrong:" + encoderWrong));
    const std::string recordWrong = Mismatched(record.Get(), surface::RecordProperties());
    check.That(recordWrong.empty(), "_CError: the six properties" +
                                        (recordWrong.empty() ? "" : ", wrong:" + recordWrong));
  }
  // The version resource says what GetInformation says.
  const DWORD size = GetFileVersionInfoSizeW(dll.c_str(), nullptr);
  std::vector<char> block(size);
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  const bool read = size > 0 && GetFileVersionInfoW(dll.c_str(), 0, size, block.data()) &&
                    VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length);
  check.That(read && HIWORD(fixed->dwFileVersionMS) == 7 && LOWORD(fixed->dwFileVersionMS) == 1 &&
                 HIWORD(fixed->dwFileVersionLS) == 1875,
             "the DLL's version resource is 7.1.1875");
  return check.Finish();
}
