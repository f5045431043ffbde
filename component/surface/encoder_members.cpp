// The members of _Encoder in the order of the interface, each with its parameters and its call on
// the core Encoder. DISPIDs follow the order: the first member is 1.
#include <utility>

#include "component/encoder.h"
#include "component/surface/member_info.h"

namespace lumivex::surface {

namespace {

constexpr ArgType I4 = ArgType::Int32;
constexpr ArgType UI1 = ArgType::Byte;
constexpr ArgType BOOL = ArgType::Bool;
constexpr ArgType TEXT = ArgType::Text;
constexpr ArgType VAR = ArgType::Variant;

using Call = std::function<CallResult(Encoder&, Slots&)>;
using E = Encoder;

ParamInfo In(const char* name, ArgType type, const char* enumType = nullptr) {
  return {name, type, false, false, enumType};
}
ParamInfo Out(const char* name, ArgType type, const char* enumType = nullptr) {
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
                    std::function<void(Encoder&, const std::string&)> set = nullptr) {
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

using TrailerReader = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                           std::uint8_t&, SCBS_SecurityLevelEnum&,
                                           SCBS_SecurityLevelEnum&, SCBS_SecurityLevelEnum&,
                                           SCSS_SecurityLevelEnum&, std::uint8_t&);
using TrailerWriter = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                           const std::string&, const std::string&, std::uint8_t,
                                           SCBS_SecurityLevelEnum, SCBS_SecurityLevelEnum,
                                           SCBS_SecurityLevelEnum, SCSS_SecurityLevelEnum,
                                           const std::optional<Variant>&);

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

using BlocMember = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                        std::string&);
Call BlocCall(BlocMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].text));
  };
}
using ManufacturerMember = sceReturnCode (E::*)(const std::string&, std::uint8_t, std::int32_t&,
                                                std::uint8_t&, std::string&);
Call ManufacturerCall(ManufacturerMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].text, s[1].ui1, s[2].i4, s[3].ui1, s[4].text));
  };
}
using BytesMember = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                         std::uint8_t, std::uint8_t, std::string&);
Call BytesCall(BytesMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].ui1, s[4].ui1, s[5].text));
  };
}
using ValueMember = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                         std::int32_t);
Call ValueCall(ValueMember member) {
  return
      [member](E& e, Slots& s) { return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].i4)); };
}
using AccessMember = void (E::*)(std::int32_t, const std::string&);
Call AccessCall(AccessMember member) {
  return [member](E& e, Slots& s) {
    (e.*member)(s[0].i4, s[1].text);
    return Nothing();
  };
}
using CreateFileMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t,
                                              std::int32_t, std::int32_t, std::int32_t,
                                              std::int32_t);
Call DataFileCall(CreateFileMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4, s[5].i4, s[6].i4));
  };
}
using CreateRecordMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t,
                                                std::int32_t, std::int32_t, std::int32_t,
                                                std::int32_t, std::int32_t);
Call RecordFileCall(CreateRecordMember member) {
  return [member](E& e, Slots& s) {
    return Code(
        (e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4, s[5].i4, s[6].i4, s[7].i4));
  };
}
using WriteMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t,
                                         const std::string&, bool);
Call WriteCall(WriteMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
  };
}
using ReadMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t, std::string&,
                                        bool);
Call ReadCall(ReadMember member) {
  return [member](E& e, Slots& s) {
    return Code((e.*member)(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
  };
}
using ChangeMember = sceReturnCode (E::*)(std::int32_t, std::int32_t);
Call ChangeCall(ChangeMember member) {
  return [member](E& e, Slots& s) { return Code((e.*member)(s[0].i4, s[1].i4)); };
}
using FileMember = sceReturnCode (E::*)(std::int32_t);
Call FileCall(FileMember member) {
  return [member](E& e, Slots& s) { return Code((e.*member)(s[0].i4)); };
}
using PlainMember = sceReturnCode (E::*)();
Call PlainCall(PlainMember member) {
  return [member](E& e, Slots&) { return Code((e.*member)()); };
}

std::vector<MemberInfo> Build() {
  std::vector<MemberInfo> m = {
      // ---- object, parameters, trace log, last error ----
      Property(
          "Parameters", TEXT, nullptr, [](E& e) { return Variant::FromText(e.Parameters()); },
          [](E& e, const std::string& v) { e.Parameters(v); }),
      // The record is an object: the tool prints its fields, the COM server hands out the object.
      Property("LastError", ArgType::Object, nullptr, [](E&) { return Variant(); }),
      Sub("WriteLog", {In("sMessage", TEXT)},
          [](E& e, Slots& s) {
            e.WriteLog(s[0].text);
            return Nothing();
          }),
      // ---- reader session ----
      Operation("OpenEncoder", {In("Handle", I4)},
                [](E& e, Slots& s) { return Code(e.OpenEncoder(s[0].i4)); }),
      Sub("ReOpenEncoder", {},
          [](E& e, Slots&) {
            e.ReOpenEncoder();
            return Nothing();
          }),
      Operation("CloseEncoder", {}, PlainCall(&E::CloseEncoder)),
      Property("EncoderState", I4, "sceEncoderState",
               [](E& e) { return Variant::FromInt32(e.EncoderState()); }),
      Property("ReaderType", TEXT, nullptr, [](E& e) { return Variant::FromText(e.ReaderType()); }),
      Property("ATRString", TEXT, nullptr, [](E& e) { return Variant::FromText(e.ATRString()); }),
      Operation("ReadSerialNumber", {Out("SerialNumber", TEXT)},
                [](E& e, Slots& s) { return Code(e.ReadSerialNumber(s[0].text)); }),
      // ---- raw commands, texts, identification, host information ----
      Operation("Escape", {In("Request", TEXT), Out("Response", TEXT)},
                [](E& e, Slots& s) { return Code(e.Escape(s[0].text, s[1].text)); }),
      Operation("EscapeExt", {In("Request", TEXT), Out("Response", TEXT), Out("RetCode", TEXT)},
                [](E& e, Slots& s) { return Code(e.EscapeExt(s[0].text, s[1].text, s[2].text)); }),
      Function("GetResponseText", {In("sErrorCode", TEXT), OptionalOut("sErrorCaller", TEXT)},
               [](E& e, Slots& s) {
                 return Value(Variant::FromText(
                     e.GetResponseText(s[0].text, s[1].given ? &s[1].text : nullptr)));
               }),
      Property("CardType", I4, "sceCardTypes",
               [](E& e) { return Variant::FromInt32(e.CardType()); }),
      Property("SerialNumberLength", I4, nullptr,
               [](E& e) { return Variant::FromInt32(e.SerialNumberLength()); }),
      Function("GetInformation", {},
               [](E& e, Slots&) { return Value(Variant::FromText(e.GetInformation())); }),
      Operation("Configure", {In("Language", TEXT)},
                [](E& e, Slots& s) { return Code(e.Configure(s[0].text)); }),
      // ---- MIFARE Classic: unprefixed forwarders, then the operations ----
      Operation("ReadDataBloc", BlocReadWrite(), BlocCall(&E::ReadDataBloc)),
      Operation("ReadManufacturerCode", ManufacturerCode(),
                ManufacturerCall(&E::ReadManufacturerCode)),
      Operation("WriteDataBloc", BlocReadWrite(), BlocCall(&E::WriteDataBloc)),
      Operation("WriteBytesInBloc", BytesInBloc(), BytesCall(&E::WriteBytesInBloc)),
      Operation("MifareReadDataBloc", BlocReadWrite(), BlocCall(&E::MifareReadDataBloc)),
      Operation("MifareReadManufacturerCode", ManufacturerCode(),
                ManufacturerCall(&E::MifareReadManufacturerCode)),
      Operation("MifareWriteDataBloc", BlocReadWrite(), BlocCall(&E::MifareWriteDataBloc)),
      Operation("MifareWriteBytesInBloc", BytesInBloc(), BytesCall(&E::MifareWriteBytesInBloc)),
      Operation("WriteValueBloc", ValueBloc(), ValueCall(&E::WriteValueBloc)),
      Operation("ReadSectorTrailer", TrailerRead(), ReadTrailerCall(&E::ReadSectorTrailer)),
      Operation("WriteSectorTrailer", TrailerWrite(), WriteTrailerCall(&E::WriteSectorTrailer)),
      Operation("MifareWriteValueBloc", ValueBloc(), ValueCall(&E::MifareWriteValueBloc)),
      Operation("MifareReadSectorTrailer", TrailerRead(),
                ReadTrailerCall(&E::MifareReadSectorTrailer)),
      Operation("MifareWriteSectorTrailer", TrailerWrite(),
                WriteTrailerCall(&E::MifareWriteSectorTrailer)),
      Sub("SetAccessCondition", AccessCondition(), AccessCall(&E::SetAccessCondition)),
      Sub("MifareSetAccessCondition", AccessCondition(), AccessCall(&E::MifareSetAccessCondition)),
      // ---- DESFire: selection, card and applications ----
      Operation("DESFireSelectRoot", {In("KeyValue", TEXT)},
                [](E& e, Slots& s) { return Code(e.DESFireSelectRoot(s[0].text)); }),
      Operation("DESFireSelectApplication",
                {In("ApplicationId", TEXT), In("KeyNumber", I4), In("KeyValue", TEXT)},
                [](E& e, Slots& s) {
                  return Code(e.DESFireSelectApplication(s[0].text, s[1].i4, s[2].text));
                }),
      Operation("DESFireFormat", {}, PlainCall(&E::DESFireFormat)),
      Operation("DESFireCreateApplication",
                {In("ApplicationId", TEXT), In("KeySettings", I4, "DesfireKeySettings"),
                 In("NumOfKeys", I4)},
                [](E& e, Slots& s) {
                  return Code(e.DESFireCreateApplication(
                      s[0].text, static_cast<DesfireKeySettings>(s[1].i4), s[2].i4));
                }),
      Operation("DESFireDeleteApplication", {In("ApplicationId", TEXT)},
                [](E& e, Slots& s) { return Code(e.DESFireDeleteApplication(s[0].text)); }),
      Operation("DESFireGetApplications", {Out("Applications", TEXT)},
                [](E& e, Slots& s) { return Code(e.DESFireGetApplications(s[0].text)); }),
      Operation("DESFireGetVersion",
                {In("RequestedInformation", I4, "DesfireVersionBytes"), Out("Information", VAR)},
                [](E& e, Slots& s) {
                  return Code(
                      e.DESFireGetVersion(static_cast<DesfireVersionBytes>(s[0].i4), s[1].variant));
                }),
      // ---- DESFire: keys ----
      Operation(
          "DESFireChangeKey", {In("KeyNumber", I4), In("OldKey", TEXT), In("NewKey", TEXT)},
          [](E& e, Slots& s) { return Code(e.DESFireChangeKey(s[0].i4, s[1].text, s[2].text)); }),
      Operation("DESFireGetKeyVersion", {In("KeyNumber", I4), Out("KeyVersion", I4)},
                [](E& e, Slots& s) { return Code(e.DESFireGetKeyVersion(s[0].i4, s[1].i4)); }),
      Operation("DESFireGetKeySettings", {Out("KeySettings", I4), Out("KeyCount", I4)},
                [](E& e, Slots& s) { return Code(e.DESFireGetKeySettings(s[0].i4, s[1].i4)); }),
      Operation("DESFireChangeKeySettings", {In("KeySettings", I4, "DesfireKeySettings")},
                [](E& e, Slots& s) {
                  return Code(e.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(s[0].i4)));
                }),
      // ---- DESFire: files ----
      Operation("DESFireGetFileIDs", {Out("FileIds", TEXT)},
                [](E& e, Slots& s) { return Code(e.DESFireGetFileIDs(s[0].text)); }),
      Operation("DESFireCreateStdDataFile", DataFile(), DataFileCall(&E::DESFireCreateStdDataFile)),
      Operation("DESFireCreateBackupDataFile", DataFile(),
                DataFileCall(&E::DESFireCreateBackupDataFile)),
      Operation(
          "DESFireCreateValueFile",
          {In("FileNumber", I4), In("CommunicationSettings", I4), In("KeyRead", I4),
           In("KeyWrite", I4), In("KeyReadWrite", I4), In("KeyManage", I4), In("LowerLimit", I4),
           In("UpperLimit", I4), In("InitialValue", I4), In("LimitedCreditEnabled", BOOL)},
          [](E& e, Slots& s) {
            return Code(e.DESFireCreateValueFile(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4,
                                                 s[5].i4, s[6].i4, s[7].i4, s[8].i4, s[9].flag));
          }),
      Operation("DESFireCreateLinearRecordFile", RecordFile(),
                RecordFileCall(&E::DESFireCreateLinearRecordFile)),
      Operation("DESFireCreateCyclicRecordFile", RecordFile(),
                RecordFileCall(&E::DESFireCreateCyclicRecordFile)),
      Operation("DESFireDeleteFile", {In("FileNumber", I4)}, FileCall(&E::DESFireDeleteFile)),
      Operation("DESFireGetFileSettings", {In("FileNo", I4), Out("Information", TEXT)},
                [](E& e, Slots& s) { return Code(e.DESFireGetFileSettings(s[0].i4, s[1].text)); }),
      Operation("DESFireChangeFileSettings", Rights({In("FileNo", I4)}),
                [](E& e, Slots& s) {
                  return Code(e.DESFireChangeFileSettings(s[0].i4, s[1].i4, s[2].i4, s[3].i4,
                                                          s[4].i4, s[5].i4));
                }),
      // ---- DESFire: data and records ----
      Operation("DESFireWriteData", WriteTransfer(), WriteCall(&E::DESFireWriteData)),
      Operation("DESFireReadData", ReadTransfer(), ReadCall(&E::DESFireReadData)),
      Operation("DESFireWriteRecord", WriteTransfer(), WriteCall(&E::DESFireWriteRecord)),
      Operation("DESFireReadRecords", ReadTransfer(), ReadCall(&E::DESFireReadRecords)),
      Operation("DESFireClearRecordFile", {In("FileNo", I4)}, FileCall(&E::DESFireClearRecordFile)),
      // ---- DESFire: values and transactions ----
      Operation("DESFireGetValue", {In("FileNo", I4), Out("ValueData", I4)},
                [](E& e, Slots& s) { return Code(e.DESFireGetValue(s[0].i4, s[1].i4)); }),
      Operation("DESFireDebit", ValueChange(), ChangeCall(&E::DESFireDebit)),
      Operation("DESFireCredit", ValueChange(), ChangeCall(&E::DESFireCredit)),
      Operation("DESFireLimitedCredit", ValueChange(), ChangeCall(&E::DESFireLimitedCredit)),
      Operation("DESFireCommitTransaction", {}, PlainCall(&E::DESFireCommitTransaction)),
      Operation("DESFireAbortTransaction", {}, PlainCall(&E::DESFireAbortTransaction)),
  };
  std::int32_t dispid = 1;
  for (auto& member : m) member.dispid = dispid++;
  return m;
}

}  // namespace

const std::vector<MemberInfo>& EncoderMembers() {
  static const std::vector<MemberInfo> members = Build();
  return members;
}

const MemberInfo* FindEncoderMember(const std::string& name) {
  for (const auto& m : EncoderMembers()) {
    if (name == m.name) return &m;
  }
  return nullptr;
}

}  // namespace lumivex::surface
