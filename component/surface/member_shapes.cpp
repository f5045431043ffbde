// The shapes the members of _Encoder share: argument kinds, parameter lists of look-alike members,
// and the calls of a member and its unprefixed forwarder.
#include "component/surface/member_shapes.h"

#include <utility>

namespace lumivex::surface::shapes {

ParamInfo In(const char* name, ArgType type, const char* enumType) {
  return {name, type, false, false, enumType};
}
ParamInfo Out(const char* name, ArgType type, const char* enumType) {
  return {name, type, true, false, enumType};
}
ParamInfo OptionalOut(const char* name, ArgType type) {
  return {name, type, true, true, nullptr};
}

CallResult Code(sceReturnCode code) {
  return {code, std::nullopt};
}
CallResult Value(Variant value) {
  return {std::nullopt, std::move(value)};
}
CallResult Nothing() {
  return {};
}

// A card operation: returns sceReturnCode.
MemberInfo Operation(const char* name, std::vector<ParamInfo> params, Call call) {
  return {name,
          MemberKind::Method,
          0,
          I4,
          "sceReturnCode",
          std::move(params),
          std::move(call),
          nullptr,
          nullptr};
}
// A member without result.
MemberInfo Sub(const char* name, std::vector<ParamInfo> params, Call call) {
  return {name,
          MemberKind::Method,
          0,
          ArgType::None,
          nullptr,
          std::move(params),
          std::move(call),
          nullptr,
          nullptr};
}
// A member that returns a text.
MemberInfo Function(const char* name, std::vector<ParamInfo> params, Call call) {
  return {name,   MemberKind::Method, 0, TEXT, nullptr, std::move(params), std::move(call), nullptr,
          nullptr};
}
MemberInfo Property(const char* name, ArgType type, const char* enumType,
                    std::function<Variant(Encoder&)> get,
                    std::function<void(Encoder&, const std::string&)> set) {
  return {name,           MemberKind::Property, 0, type, enumType, {}, nullptr,
          std::move(get), std::move(set)};
}

// ---- parameter lists shared by look-alike members ----

std::vector<ParamInfo> BlocReadWrite() {
  return {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), Out("BlocContents", TEXT)};
}
std::vector<ParamInfo> ManufacturerCode() {
  return {In("Key", TEXT), In("KeyType", UI1), Out("SerialNumber", I4), Out("CheckSum", UI1),
          Out("ManufacturerInfo", TEXT)};
}
std::vector<ParamInfo> BytesInBloc() {
  return {In("BlocNumber", I4), In("Key", TEXT),   In("KeyType", UI1),
          In("FromByte", UI1),  In("ToByte", UI1), Out("BlocContents", TEXT)};
}
std::vector<ParamInfo> ValueBloc() {
  return {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), In("Value", I4)};
}
constexpr const char* kBlocLevel = "SCBS_SecurityLevelEnum";
constexpr const char* kTrailerLevel = "SCSS_SecurityLevelEnum";
std::vector<ParamInfo> TrailerRead() {
  return {In("SectorNumber", I4),
          In("Key", TEXT),
          In("KeyType", UI1),
          Out("KeysUsed", UI1),
          Out("Security0", I4, kBlocLevel),
          Out("Security1", I4, kBlocLevel),
          Out("Security2", I4, kBlocLevel),
          Out("Conditions", I4, kTrailerLevel),
          Out("BX", UI1)};
}
std::vector<ParamInfo> TrailerWrite() {
  return {In("SectorNumber", I4),
          In("Key", TEXT),
          In("KeyType", UI1),
          In("KeyA", TEXT),
          In("KeyB", TEXT),
          In("KeysToUse", UI1),
          In("Security0", I4, kBlocLevel),
          In("Security1", I4, kBlocLevel),
          In("Security2", I4, kBlocLevel),
          In("Conditions", I4, kTrailerLevel),
          OptionalOut("BX", VAR)};
}
std::vector<ParamInfo> AccessCondition() {
  return {In("AccessConditionNumber", I4), In("NewValue", TEXT)};
}
std::vector<ParamInfo> Rights(std::vector<ParamInfo> head) {
  for (const char* name :
       {"CommunicationSettings", "KeyRead", "KeyWrite", "KeyReadWrite", "KeyManage"}) {
    head.push_back(In(name, I4));
  }
  return head;
}
std::vector<ParamInfo> DataFile() {
  auto p = Rights({In("FileNumber", I4)});
  p.push_back(In("FileSize", I4));
  return p;
}
std::vector<ParamInfo> RecordFile() {
  auto p = Rights({In("FileNumber", I4)});
  p.push_back(In("RecordSize", I4));
  p.push_back(In("MaxNumOfRecords", I4));
  return p;
}
std::vector<ParamInfo> WriteTransfer() {
  return {In("FileNo", I4), In("Offset", I4), In("Length", I4), In("DataString", TEXT),
          In("IsDataHexaString", BOOL)};
}
std::vector<ParamInfo> ReadTransfer() {
  return {In("FileNo", I4), In("Offset", I4), In("Length", I4), Out("DataString", TEXT),
          In("IsDataHexaString", BOOL)};
}
std::vector<ParamInfo> ValueChange() {
  return {In("FileNo", I4), In("Amount", I4)};
}

// ---- calls shared by a member and its unprefixed forwarder ----

Call ReadTrailerCall(TrailerReader member) {
  return [member](E& e, Slots& s) {
    auto s0 = static_cast<SCBS_SecurityLevelEnum>(s[4].i4);
    auto s1 = static_cast<SCBS_SecurityLevelEnum>(s[5].i4);
    auto s2 = static_cast<SCBS_SecurityLevelEnum>(s[6].i4);
    auto conditions = static_cast<SCSS_SecurityLevelEnum>(s[7].i4);
    const sceReturnCode code =
        (e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].ui1, s0, s1, s2, conditions, s[8].ui1);
    s[4].i4 = s0;
    s[5].i4 = s1;
    s[6].i4 = s2;
    s[7].i4 = conditions;
    return Code(code);
  };
}

Call WriteTrailerCall(TrailerWriter member) {
  return [member](E& e, Slots& s) {
    const std::optional<Variant> bx =
        s[10].given ? std::optional<Variant>(s[10].variant) : std::nullopt;
    return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].text, s[4].text, s[5].ui1,
                            static_cast<SCBS_SecurityLevelEnum>(s[6].i4),
                            static_cast<SCBS_SecurityLevelEnum>(s[7].i4),
                            static_cast<SCBS_SecurityLevelEnum>(s[8].i4),
                            static_cast<SCSS_SecurityLevelEnum>(s[9].i4), bx));
  };
}

Call BlocCall(BlocMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].text));
  };
}
Call ManufacturerCall(ManufacturerMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].text, s[1].ui1, s[2].i4, s[3].ui1, s[4].text));
  };
}
Call BytesCall(BytesMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].ui1, s[4].ui1, s[5].text));
  };
}
Call ValueCall(ValueMember member) {
  return
      [member](E& e, Slots& s) { return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].i4)); };
}
Call AccessCall(AccessMember member) {
  return [member](E& e, Slots& s) {
    (e.*member)(s[0].i4, s[1].text);
    return Nothing();
  };
}
Call DataFileCall(CreateFileMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4, s[5].i4, s[6].i4));
  };
}
Call RecordFileCall(CreateRecordMember member) {
  return [member](E& e, Slots& s) {
    return Code(
        (e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4, s[5].i4, s[6].i4, s[7].i4));
  };
}
Call WriteCall(WriteMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
  };
}
Call ReadCall(ReadMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
  };
}
Call ChangeCall(ChangeMember member) {
  return [member](E& e, Slots& s) { return Code((e.*member)(s[0].i4, s[1].i4)); };
}
Call FileCall(FileMember member) {
  return [member](E& e, Slots& s) { return Code((e.*member)(s[0].i4)); };
}
Call PlainCall(PlainMember member) {
  return [member](E& e, Slots&) { return Code((e.*member)()); };
}

}  // namespace lumivex::surface::shapes
