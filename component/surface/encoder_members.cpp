// The members of _Encoder in the order of the interface, each with its parameters and its call on
// the core Encoder. DISPIDs follow the order: the first member is 1.
#include <utility>

#include "component/encoder.h"
#include "component/surface/member_info.h"
#include "component/surface/member_shapes.h"

namespace lumivex::surface {

namespace {

using namespace shapes;

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
