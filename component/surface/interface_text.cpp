#include "component/surface/interface_text.h"

#include <sstream>

#include "component/surface/identity.h"
#include "component/surface/member_info.h"

namespace lumivex::surface {

namespace {

// The automation type of a value, as IDL writes it.
std::string TypeName(ArgType type, const char* enumType) {
  switch (type) {
    case ArgType::Int32:
      return enumType != nullptr ? enumType : "long";
    case ArgType::Byte:
      return "unsigned char";
    case ArgType::Bool:
      return "VARIANT_BOOL";
    case ArgType::Text:
      return "BSTR";
    case ArgType::Variant:
      return "VARIANT";
    case ArgType::Object:
      return "_CError*";
    case ArgType::None:
      break;
  }
  return "void";
}

// An optional argument without a default travels as a VARIANT, so a caller can leave it out.
std::string Parameter(const ParamInfo& p) {
  std::string attributes = p.byReference ? "in, out" : "in";
  if (p.optional) attributes += ", optional";
  const std::string type = p.optional ? "VARIANT" : TypeName(p.type, p.enumType);
  return "[" + attributes + "] " + type + (p.byReference ? "* " : " ") + p.name;
}

std::string Id(std::int32_t dispid) {
  std::ostringstream text;
  text << "[id(" << dispid;
  return text.str();
}

void WriteEnum(std::ostream& out, const EnumInfo& e) {
  out << "  typedef enum " << e.name << " {\n";
  for (std::size_t i = 0; i < e.members.size(); ++i) {
    out << "    " << e.members[i].name << " = " << e.members[i].value
        << (i + 1 < e.members.size() ? ",\n" : "\n");
  }
  out << "  } " << e.name << ";\n\n";
}

void WriteInterfaceHead(std::ostream& out, const char* iid, const char* name) {
  out << "  [\n    odl,\n    uuid(" << iid
      << "),\n    dual,\n    nonextensible,\n    oleautomation\n  ]\n"
      << "  interface " << name << " : IDispatch {\n";
}

void WriteProperty(std::ostream& out, std::int32_t dispid, const std::string& name,
                   const std::string& type, bool get, bool put) {
  if (get) {
    out << "    " << Id(dispid) << "), propget] HRESULT " << name << "([out, retval] " << type
        << "* Value);\n";
  }
  if (put) {
    out << "    " << Id(dispid) << "), propput] HRESULT " << name << "([in] " << type
        << " Value);\n";
  }
}

void WriteMethod(std::ostream& out, const MemberInfo& m) {
  std::vector<std::string> params;
  for (const auto& p : m.params) params.push_back(Parameter(p));
  if (m.result != ArgType::None) {
    params.push_back("[out, retval] " + TypeName(m.result, m.resultEnum) + "* Result");
  }
  out << "    " << Id(m.dispid) << ")] HRESULT " << m.name << "(";
  for (std::size_t i = 0; i < params.size(); ++i) {
    out << (i == 0 ? "" : ",") << "\n        " << params[i];
  }
  out << ");\n";
}

}  // namespace

std::string InterfaceDescription() {
  std::ostringstream out;
  out << "// The type library of the " << kLibraryName << " automation component.\n"
      << "// Written from the component's member tables: `lumivex idl > com/" << kLibraryName
      << ".idl`.\n"
      << "import \"oaidl.idl\";\nimport \"ocidl.idl\";\n\n"
      << "[\n  uuid(" << kLibraryId << "),\n  version(" << kLibraryMajor << "." << kLibraryMinor
      << "),\n  helpstring(\"" << kLibraryTitle << "\")\n]\n"
      << "library " << kLibraryName << "\n{\n  importlib(\"stdole2.tlb\");\n\n"
      << "  interface _CError;\n  interface _Encoder;\n\n";
  for (const auto& e : Enumerations()) WriteEnum(out, e);

  WriteInterfaceHead(out, kRecordInterfaceId, "_CError");
  for (const auto& p : RecordProperties()) {
    WriteProperty(out, p.dispid, p.name, TypeName(p.type, nullptr), true, true);
  }
  out << "  };\n\n";

  WriteInterfaceHead(out, kEncoderInterfaceId, "_Encoder");
  for (const auto& m : EncoderMembers()) {
    if (m.kind == MemberKind::Property) {
      WriteProperty(out, m.dispid, m.name, TypeName(m.result, m.resultEnum), m.get != nullptr,
                    m.set != nullptr);
    } else {
      WriteMethod(out, m);
    }
  }
  out << "  };\n\n";

  out << "  [\n    uuid(" << kEncoderClassId << ")\n  ]\n"
      << "  coclass Encoder {\n    [default] interface _Encoder;\n  };\n\n"
      << "  [\n    uuid(" << kRecordClassId << ")\n  ]\n"
      << "  coclass CError {\n    [default] interface _CError;\n  };\n};\n";
  return out.str();
}

}  // namespace lumivex::surface
