// The six properties of _CError, each read and written as a Variant of its type.
#include "component/surface/member_info.h"

namespace lumivex::surface {

namespace {

using TextGetter = const std::string& (CError::*)() const;
using TextSetter = void (CError::*)(std::string);
using NumberGetter = std::int32_t (CError::*)() const;
using NumberSetter = void (CError::*)(std::int32_t);

RecordPropertyInfo Text(const char* name, TextGetter get, TextSetter set) {
  return {name, 0, ArgType::Text, [get](const CError& r) { return Variant::FromText((r.*get)()); },
          [set](CError& r, const Variant& v) { (r.*set)(v.AsText() ? *v.AsText() : ""); }};
}

RecordPropertyInfo Number(const char* name, NumberGetter get, NumberSetter set) {
  return {name, 0, ArgType::Int32,
          [get](const CError& r) { return Variant::FromInt32((r.*get)()); },
          [set](CError& r, const Variant& v) { (r.*set)(v.ToInt32().value_or(0)); }};
}

std::vector<RecordPropertyInfo> Build() {
  std::vector<RecordPropertyInfo> p = {
      Number("Number", &CError::Number, &CError::Number),
      Text("Description", &CError::Description, &CError::Description),
      Number("LastDllError", &CError::LastDllError, &CError::LastDllError),
      Text("ComFunction", &CError::ComFunction, &CError::ComFunction),
      Text("RdrCommand", &CError::RdrCommand, &CError::RdrCommand),
      Text("RdrRetCode", &CError::RdrRetCode, &CError::RdrRetCode),
  };
  std::int32_t dispid = 1;
  for (auto& property : p) property.dispid = dispid++;
  return p;
}

}  // namespace

const std::vector<RecordPropertyInfo>& RecordProperties() {
  static const std::vector<RecordPropertyInfo> properties = Build();
  return properties;
}

}  // namespace lumivex::surface
