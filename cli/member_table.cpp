#include "cli/member_table.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>

namespace lumivex::cli {

namespace {

constexpr ArgType I4 = ArgType::Int32;
constexpr ArgType UI1 = ArgType::Byte;
constexpr ArgType BOOL = ArgType::Bool;
constexpr ArgType TEXT = ArgType::Text;
constexpr ArgType VAR = ArgType::Variant;

ParamSpec In(const char* name, ArgType type) {
  return {name, type, false, false};
}
ParamSpec Out(const char* name, ArgType type) {
  return {name, type, true, false};
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

const std::map<std::string, std::int64_t, std::less<>>& EnumNames() {
  static const std::map<std::string, std::int64_t, std::less<>> names = {
      {"sceUnhandled", 0},
      {"sceUnknownType", 1},
      {"sceMifare1K", 17},
      {"sceMifare4K", 18},
      {"sceMifareUltralight", 33},
      {"sceDESFire", 49},
      {"sceRfid125KHz", 65},
      {"scePicoPass2KS", 81},
      {"scbs_A_Nothing", 0},
      {"scbs_A_Read", 1},
      {"scbs_A_Write", 2},
      {"scbs_A_ReadWrite", 3},
      {"scbs_B_Nothing", 0},
      {"scbs_B_Read", 4},
      {"scbs_B_Write", 8},
      {"scbs_B_ReadWrite", 12},
      {"scss_A_Nothing", 0},
      {"scss_A_WriteKeys", 1},
      {"scss_A_WriteConditions", 2},
      {"scss_A_WriteKeysConditions", 3},
      {"scss_B_Nothing", 0},
      {"scss_B_WriteKeys", 4},
      {"scss_B_WriteConditions", 8},
      {"scss_B_WriteKeysConditions", 12},
      {"dfkConfigurationFrozen", 0},
      {"dfkConfigurationChangeable", 8},
      {"dfkRootCreateDeleteWithMasterK", 0},
      {"dfkRootDeleteWithMasterK", 4},
      {"dfkRootInfosWithMasterK", 0},
      {"dfkRootInfosWithoutMasterK", 2},
      {"dfkRootMasterKFrozen", 0},
      {"dfkRootMasterKChangeable", 1},
      {"dfkApplChangeKeyWithMasterK", 0},
      {"dfkApplChangeKeyWithKey01", 16},
      {"dfkApplChangeKeyWithKey02", 32},
      {"dfkApplChangeKeyWithKey03", 48},
      {"dfkApplChangeKeyWithKey04", 64},
      {"dfkApplChangeKeyWithKey05", 80},
      {"dfkApplChangeKeyWithKey06", 96},
      {"dfkApplChangeKeyWithKey07", 112},
      {"dfkApplChangeKeyWithKey08", 128},
      {"dfkApplChangeKeyWithKey09", 144},
      {"dfkApplChangeKeyWithKey10", 160},
      {"dfkApplChangeKeyWithKey11", 176},
      {"dfkApplChangeKeyWithKey12", 192},
      {"dfkApplChangeKeyWithKey13", 208},
      {"dfkApplChangeKeyWithItself", 224},
      {"dfkApplChangeKeyLocked", 240},
      {"dfkApplCreateDeleteWithMasterK", 0},
      {"dfkApplDeleteWithMasterK", 4},
      {"dfkApplInfosWithMasterK", 0},
      {"dfkApplInfosWithoutMasterK", 2},
      {"dfkApplMasterKFrozen", 0},
      {"dfkApplMasterKChangeable", 1},
      {"dfkRootDefault", 15},
      {"dfkApplDefault", 15},
      {"dfvAllData", -2},
      {"dfvStorageSize", -1},
      {"dfvHardwareVendorId", 0},
      {"dfvHardwareType", 1},
      {"dfvHardwareSubType", 2},
      {"dfvHardwareMajorVer", 3},
      {"dfvHardwareMinorVer", 4},
      {"dfvHardwareStorageSize", 5},
      {"dfvHardwareProtocol", 6},
      {"dfvSoftwareVendorId", 7},
      {"dfvSoftwareType", 8},
      {"dfvSoftwareSubType", 9},
      {"dfvSoftwareMajorVer", 10},
      {"dfvSoftwareMinorVer", 11},
      {"dfvSoftwareStorageSize", 12},
      {"dfvSoftwareProtocol", 13},
      {"dfvUID", 14},
      {"dfvBatchNo", 21},
      {"dfvProductionWeek", 26},
      {"dfvProductionYear", 27},
      {"dfaAllow_0", 0},
      {"dfaAllow_1", 1},
      {"dfaAllow_2", 2},
      {"dfaAllow_3", 3},
      {"dfaAllow_4", 4},
      {"dfaAllow_5", 5},
      {"dfaAllow_6", 6},
      {"dfaAllow_7", 7},
      {"dfaAllow_8", 8},
      {"dfaAllow_9", 9},
      {"dfaAllow_10", 10},
      {"dfaAllow_11", 11},
      {"dfaAllow_12", 12},
      {"dfaAllow_13", 13},
      {"dfaAllowAll", 14},
      {"dfaDenyAll", 15},
      {"dftData", 0},
      {"dftBackup", 1},
      {"dftValue", 2},
      {"dftLinear", 3},
      {"dftCyclic", 4},
  };
  return names;
}

bool ParseOneInteger(std::string_view word, std::int64_t& value) {
  if (word.empty()) return false;
  if (auto it = EnumNames().find(word); it != EnumNames().end()) {
    value = it->second;
    return true;
  }
  bool negative = false;
  if (word.front() == '-' || word.front() == '+') {
    negative = word.front() == '-';
    word.remove_prefix(1);
  }
  int base = 10;
  if (word.size() > 2 && (word.substr(0, 2) == "0x" || word.substr(0, 2) == "0X" ||
                          word.substr(0, 2) == "&H" || word.substr(0, 2) == "&h")) {
    base = 16;
    word.remove_prefix(2);
  }
  std::uint64_t magnitude = 0;
  const auto* end = word.data() + word.size();
  auto [ptr, ec] = std::from_chars(word.data(), end, magnitude, base);
  if (ec != std::errc() || ptr != end || word.empty()) return false;
  if (magnitude > 0xFFFFFFFFULL) return false;
  value = negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
  return true;
}

std::vector<ParamSpec> TrailerReadParams() {
  return {In("SectorNumber", I4), In("Key", TEXT),       In("KeyType", UI1),
          Out("KeysUsed", UI1),   Out("Security0", I4),  Out("Security1", I4),
          Out("Security2", I4),   Out("Conditions", I4), Out("BX", UI1)};
}

std::vector<ParamSpec> TrailerWriteParams() {
  return {In("SectorNumber", I4), In("Key", TEXT),         In("KeyType", UI1),
          In("KeyA", TEXT),       In("KeyB", TEXT),        In("KeysToUse", UI1),
          In("Security0", I4),    In("Security1", I4),     In("Security2", I4),
          In("Conditions", I4),   {"BX", VAR, false, true}};
}

using TrailerRead = sceReturnCode (Encoder::*)(std::int32_t, const std::string&, std::uint8_t,
                                               std::uint8_t&, SCBS_SecurityLevelEnum&,
                                               SCBS_SecurityLevelEnum&, SCBS_SecurityLevelEnum&,
                                               SCSS_SecurityLevelEnum&, std::uint8_t&);
using TrailerWrite = sceReturnCode (Encoder::*)(std::int32_t, const std::string&, std::uint8_t,
                                                const std::string&, const std::string&,
                                                std::uint8_t, SCBS_SecurityLevelEnum,
                                                SCBS_SecurityLevelEnum, SCBS_SecurityLevelEnum,
                                                SCSS_SecurityLevelEnum,
                                                const std::optional<Variant>&);

CallResult ReadTrailer(Encoder& e, Slots& s, TrailerRead member) {
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
}

CallResult WriteTrailer(Encoder& e, Slots& s, TrailerWrite member) {
  const std::optional<Variant> bx =
      s[10].given ? std::optional<Variant>(s[10].variant) : std::nullopt;
  return Code((e.*member)(s[0].i4, s[1].text, s[2].ui1, s[3].text, s[4].text, s[5].ui1,
                          static_cast<SCBS_SecurityLevelEnum>(s[6].i4),
                          static_cast<SCBS_SecurityLevelEnum>(s[7].i4),
                          static_cast<SCBS_SecurityLevelEnum>(s[8].i4),
                          static_cast<SCSS_SecurityLevelEnum>(s[9].i4), bx));
}

std::vector<ParamSpec> Rights(std::vector<ParamSpec> head) {
  for (const char* name :
       {"CommunicationSettings", "KeyRead", "KeyWrite", "KeyReadWrite", "KeyManage"}) {
    head.push_back(In(name, I4));
  }
  return head;
}

std::vector<ParamSpec> DataFileParams() {
  auto p = Rights({In("FileNumber", I4)});
  p.push_back(In("FileSize", I4));
  return p;
}

std::vector<ParamSpec> RecordFileParams() {
  auto p = Rights({In("FileNumber", I4)});
  p.push_back(In("RecordSize", I4));
  p.push_back(In("MaxNumOfRecords", I4));
  return p;
}

std::vector<ParamSpec> WriteParams() {
  return {In("FileNo", I4), In("Offset", I4), In("Length", I4), In("DataString", TEXT),
          In("IsDataHexaString", BOOL)};
}

std::vector<ParamSpec> ReadParams() {
  return {In("FileNo", I4), In("Offset", I4), In("Length", I4), Out("DataString", TEXT),
          In("IsDataHexaString", BOOL)};
}

// Integers and enumeration names joined by + (added) or | (or-ed), left to right.
bool ParseInteger(const std::string& word, std::int64_t& value) {
  value = 0;
  char op = '+';
  std::size_t start = 0;
  for (std::size_t i = 0; i <= word.size(); ++i) {
    const bool atOperator = i < word.size() && (word[i] == '+' || word[i] == '|') && i > start;
    if (i != word.size() && !atOperator) continue;
    std::int64_t part = 0;
    if (!ParseOneInteger(std::string_view(word).substr(start, i - start), part)) return false;
    value = op == '|' ? (value | part) : value + part;
    if (i < word.size()) op = word[i];
    start = i + 1;
  }
  return true;
}

}  // namespace

bool ParseArgument(const ParamSpec& param, const std::string& word, Slot& slot,
                   std::string& error) {
  slot.given = true;
  std::int64_t number = 0;
  switch (param.type) {
    case ArgType::Text:
      slot.text = word;
      return true;
    case ArgType::Variant:
      // A number becomes a 32-bit integer, anything else a text (which may not convert later).
      if (ParseInteger(word, number) && number >= INT32_MIN && number <= 0xFFFFFFFFLL) {
        slot.variant =
            Variant::FromInt32(static_cast<std::int32_t>(static_cast<std::uint32_t>(number)));
      } else {
        slot.variant = Variant::FromText(word);
      }
      return true;
    case ArgType::Bool: {
      std::string lower = word;
      std::transform(lower.begin(), lower.end(), lower.begin(),
                     [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
      if (lower == "true" || lower == "1" || lower == "-1" || lower == "yes") {
        slot.flag = true;
        return true;
      }
      if (lower == "false" || lower == "0" || lower == "no") {
        slot.flag = false;
        return true;
      }
      error = std::string(param.name) + " must be True or False, not '" + word + "'";
      return false;
    }
    case ArgType::Int32:
      if (!ParseInteger(word, number) || number < INT32_MIN || number > 0xFFFFFFFFLL) {
        error = std::string(param.name) + " must be a 32-bit integer, not '" + word + "'";
        return false;
      }
      slot.i4 = static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
      return true;
    case ArgType::Byte:
      if (!ParseInteger(word, number) || number < 0 || number > 255) {
        error = std::string(param.name) + " must be a byte (0..255), not '" + word + "'";
        return false;
      }
      slot.ui1 = static_cast<std::uint8_t>(number);
      return true;
  }
  return false;
}

const std::vector<MemberSpec>& Members() {
  using E = Encoder;
  static const std::vector<MemberSpec> members = {
      // ---- object, session, raw commands, texts ----
      {"WriteLog", {In("sMessage", TEXT)},
       [](E& e, Slots& s) { e.WriteLog(s[0].text); return Nothing(); }},
      {"OpenEncoder", {In("Handle", I4)},
       [](E& e, Slots& s) { return Code(e.OpenEncoder(s[0].i4)); }},
      {"ReOpenEncoder", {}, [](E& e, Slots&) { e.ReOpenEncoder(); return Nothing(); }},
      {"CloseEncoder", {}, [](E& e, Slots&) { return Code(e.CloseEncoder()); }},
      {"ReadSerialNumber", {Out("SerialNumber", TEXT)},
       [](E& e, Slots& s) { return Code(e.ReadSerialNumber(s[0].text)); }},
      {"Escape", {In("Request", TEXT), Out("Response", TEXT)},
       [](E& e, Slots& s) { return Code(e.Escape(s[0].text, s[1].text)); }},
      {"EscapeExt", {In("Request", TEXT), Out("Response", TEXT), Out("RetCode", TEXT)},
       [](E& e, Slots& s) { return Code(e.EscapeExt(s[0].text, s[1].text, s[2].text)); }},
      {"GetResponseText", {In("sErrorCode", TEXT), {"sErrorCaller", TEXT, true, true}},
       [](E& e, Slots& s) {
         return Value(Variant::FromText(
             e.GetResponseText(s[0].text, s[1].given ? &s[1].text : nullptr)));
       }},
      {"GetInformation", {},
       [](E& e, Slots&) { return Value(Variant::FromText(e.GetInformation())); }},
      {"Configure", {In("Language", TEXT)},
       [](E& e, Slots& s) { return Code(e.Configure(s[0].text)); }},

      // ---- MIFARE Classic ----
      {"MifareReadDataBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), Out("BlocContents", TEXT)},
       [](E& e, Slots& s) {
         return Code(e.MifareReadDataBloc(s[0].i4, s[1].text, s[2].ui1, s[3].text));
       }},
      {"ReadDataBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), Out("BlocContents", TEXT)},
       [](E& e, Slots& s) { return Code(e.ReadDataBloc(s[0].i4, s[1].text, s[2].ui1, s[3].text)); }},
      {"MifareWriteDataBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), Out("BlocContents", TEXT)},
       [](E& e, Slots& s) {
         return Code(e.MifareWriteDataBloc(s[0].i4, s[1].text, s[2].ui1, s[3].text));
       }},
      {"WriteDataBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), Out("BlocContents", TEXT)},
       [](E& e, Slots& s) { return Code(e.WriteDataBloc(s[0].i4, s[1].text, s[2].ui1, s[3].text)); }},
      {"MifareReadManufacturerCode",
       {In("Key", TEXT), In("KeyType", UI1), Out("SerialNumber", I4), Out("CheckSum", UI1),
        Out("ManufacturerInfo", TEXT)},
       [](E& e, Slots& s) {
         return Code(e.MifareReadManufacturerCode(s[0].text, s[1].ui1, s[2].i4, s[3].ui1, s[4].text));
       }},
      {"ReadManufacturerCode",
       {In("Key", TEXT), In("KeyType", UI1), Out("SerialNumber", I4), Out("CheckSum", UI1),
        Out("ManufacturerInfo", TEXT)},
       [](E& e, Slots& s) {
         return Code(e.ReadManufacturerCode(s[0].text, s[1].ui1, s[2].i4, s[3].ui1, s[4].text));
       }},
      {"MifareWriteBytesInBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), In("FromByte", UI1),
        In("ToByte", UI1), Out("BlocContents", TEXT)},
       [](E& e, Slots& s) {
         return Code(e.MifareWriteBytesInBloc(s[0].i4, s[1].text, s[2].ui1, s[3].ui1, s[4].ui1,
                                              s[5].text));
       }},
      {"WriteBytesInBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), In("FromByte", UI1),
        In("ToByte", UI1), Out("BlocContents", TEXT)},
       [](E& e, Slots& s) {
         return Code(
             e.WriteBytesInBloc(s[0].i4, s[1].text, s[2].ui1, s[3].ui1, s[4].ui1, s[5].text));
       }},
      {"MifareWriteValueBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), In("Value", I4)},
       [](E& e, Slots& s) {
         return Code(e.MifareWriteValueBloc(s[0].i4, s[1].text, s[2].ui1, s[3].i4));
       }},
      {"WriteValueBloc",
       {In("BlocNumber", I4), In("Key", TEXT), In("KeyType", UI1), In("Value", I4)},
       [](E& e, Slots& s) { return Code(e.WriteValueBloc(s[0].i4, s[1].text, s[2].ui1, s[3].i4)); }},
      {"MifareReadSectorTrailer", TrailerReadParams(),
       [](E& e, Slots& s) { return ReadTrailer(e, s, &E::MifareReadSectorTrailer); }},
      {"ReadSectorTrailer", TrailerReadParams(),
       [](E& e, Slots& s) { return ReadTrailer(e, s, &E::ReadSectorTrailer); }},
      {"MifareWriteSectorTrailer", TrailerWriteParams(),
       [](E& e, Slots& s) { return WriteTrailer(e, s, &E::MifareWriteSectorTrailer); }},
      {"WriteSectorTrailer", TrailerWriteParams(),
       [](E& e, Slots& s) { return WriteTrailer(e, s, &E::WriteSectorTrailer); }},
      {"MifareSetAccessCondition", {In("AccessConditionNumber", I4), In("NewValue", TEXT)},
       [](E& e, Slots& s) { e.MifareSetAccessCondition(s[0].i4, s[1].text); return Nothing(); }},
      {"SetAccessCondition", {In("AccessConditionNumber", I4), In("NewValue", TEXT)},
       [](E& e, Slots& s) { e.SetAccessCondition(s[0].i4, s[1].text); return Nothing(); }},

      // ---- DESFire: selection, card, applications ----
      {"DESFireSelectRoot", {In("KeyValue", TEXT)},
       [](E& e, Slots& s) { return Code(e.DESFireSelectRoot(s[0].text)); }},
      {"DESFireSelectApplication",
       {In("ApplicationId", TEXT), In("KeyNumber", I4), In("KeyValue", TEXT)},
       [](E& e, Slots& s) {
         return Code(e.DESFireSelectApplication(s[0].text, s[1].i4, s[2].text));
       }},
      {"DESFireFormat", {}, [](E& e, Slots&) { return Code(e.DESFireFormat()); }},
      {"DESFireCreateApplication",
       {In("ApplicationId", TEXT), In("KeySettings", I4), In("NumOfKeys", I4)},
       [](E& e, Slots& s) {
         return Code(e.DESFireCreateApplication(s[0].text, static_cast<DesfireKeySettings>(s[1].i4),
                                                s[2].i4));
       }},
      {"DESFireDeleteApplication", {In("ApplicationId", TEXT)},
       [](E& e, Slots& s) { return Code(e.DESFireDeleteApplication(s[0].text)); }},
      {"DESFireGetApplications", {Out("Applications", TEXT)},
       [](E& e, Slots& s) { return Code(e.DESFireGetApplications(s[0].text)); }},
      {"DESFireGetVersion", {In("RequestedInformation", I4), Out("Information", VAR)},
       [](E& e, Slots& s) {
         return Code(
             e.DESFireGetVersion(static_cast<DesfireVersionBytes>(s[0].i4), s[1].variant));
       }},

      // ---- DESFire: keys ----
      {"DESFireChangeKey", {In("KeyNumber", I4), In("OldKey", TEXT), In("NewKey", TEXT)},
       [](E& e, Slots& s) { return Code(e.DESFireChangeKey(s[0].i4, s[1].text, s[2].text)); }},
      {"DESFireGetKeyVersion", {In("KeyNumber", I4), Out("KeyVersion", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireGetKeyVersion(s[0].i4, s[1].i4)); }},
      {"DESFireGetKeySettings", {Out("KeySettings", I4), Out("KeyCount", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireGetKeySettings(s[0].i4, s[1].i4)); }},
      {"DESFireChangeKeySettings", {In("KeySettings", I4)},
       [](E& e, Slots& s) {
         return Code(e.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(s[0].i4)));
       }},

      // ---- DESFire: files ----
      {"DESFireGetFileIDs", {Out("FileIds", TEXT)},
       [](E& e, Slots& s) { return Code(e.DESFireGetFileIDs(s[0].text)); }},
      {"DESFireCreateStdDataFile", DataFileParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireCreateStdDataFile(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4,
                                                s[5].i4, s[6].i4));
       }},
      {"DESFireCreateBackupDataFile", DataFileParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireCreateBackupDataFile(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4,
                                                   s[5].i4, s[6].i4));
       }},
      {"DESFireCreateValueFile",
       {In("FileNumber", I4), In("CommunicationSettings", I4), In("KeyRead", I4),
        In("KeyWrite", I4), In("KeyReadWrite", I4), In("KeyManage", I4), In("LowerLimit", I4),
        In("UpperLimit", I4), In("InitialValue", I4), In("LimitedCreditEnabled", BOOL)},
       [](E& e, Slots& s) {
         return Code(e.DESFireCreateValueFile(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4, s[5].i4,
                                              s[6].i4, s[7].i4, s[8].i4, s[9].flag));
       }},
      {"DESFireCreateLinearRecordFile", RecordFileParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireCreateLinearRecordFile(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4,
                                                     s[5].i4, s[6].i4, s[7].i4));
       }},
      {"DESFireCreateCyclicRecordFile", RecordFileParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireCreateCyclicRecordFile(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4,
                                                     s[5].i4, s[6].i4, s[7].i4));
       }},
      {"DESFireDeleteFile", {In("FileNumber", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireDeleteFile(s[0].i4)); }},
      {"DESFireGetFileSettings", {In("FileNo", I4), Out("Information", TEXT)},
       [](E& e, Slots& s) { return Code(e.DESFireGetFileSettings(s[0].i4, s[1].text)); }},
      {"DESFireChangeFileSettings",
       {In("FileNo", I4), In("CommunicationSettings", I4), In("KeyRead", I4), In("KeyWrite", I4),
        In("KeyReadWrite", I4), In("KeyManage", I4)},
       [](E& e, Slots& s) {
         return Code(
             e.DESFireChangeFileSettings(s[0].i4, s[1].i4, s[2].i4, s[3].i4, s[4].i4, s[5].i4));
       }},

      // ---- DESFire: data and records ----
      {"DESFireWriteData", WriteParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireWriteData(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
       }},
      {"DESFireReadData", ReadParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireReadData(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
       }},
      {"DESFireWriteRecord", WriteParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireWriteRecord(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
       }},
      {"DESFireReadRecords", ReadParams(),
       [](E& e, Slots& s) {
         return Code(e.DESFireReadRecords(s[0].i4, s[1].i4, s[2].i4, s[3].text, s[4].flag));
       }},
      {"DESFireClearRecordFile", {In("FileNo", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireClearRecordFile(s[0].i4)); }},

      // ---- DESFire: values and transactions ----
      {"DESFireGetValue", {In("FileNo", I4), Out("ValueData", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireGetValue(s[0].i4, s[1].i4)); }},
      {"DESFireDebit", {In("FileNo", I4), In("Amount", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireDebit(s[0].i4, s[1].i4)); }},
      {"DESFireCredit", {In("FileNo", I4), In("Amount", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireCredit(s[0].i4, s[1].i4)); }},
      {"DESFireLimitedCredit", {In("FileNo", I4), In("Amount", I4)},
       [](E& e, Slots& s) { return Code(e.DESFireLimitedCredit(s[0].i4, s[1].i4)); }},
      {"DESFireCommitTransaction", {},
       [](E& e, Slots&) { return Code(e.DESFireCommitTransaction()); }},
      {"DESFireAbortTransaction", {},
       [](E& e, Slots&) { return Code(e.DESFireAbortTransaction()); }},
  };
  return members;
}

const std::vector<PropertySpec>& Properties() {
  using E = Encoder;
  static const std::vector<PropertySpec> properties = {
      {"Parameters", [](E& e) { return Variant::FromText(e.Parameters()); },
       [](E& e, const std::string& v) { e.Parameters(v); }},
      {"EncoderState", [](E& e) { return Variant::FromInt32(e.EncoderState()); }, nullptr},
      {"ReaderType", [](E& e) { return Variant::FromText(e.ReaderType()); }, nullptr},
      {"ATRString", [](E& e) { return Variant::FromText(e.ATRString()); }, nullptr},
      {"CardType", [](E& e) { return Variant::FromInt32(e.CardType()); }, nullptr},
      {"SerialNumberLength", [](E& e) { return Variant::FromInt32(e.SerialNumberLength()); },
       nullptr},
      // LastError is printed field by field by the runner.
      {"LastError", [](E&) { return Variant(); }, nullptr},
  };
  return properties;
}

const MemberSpec* FindMember(const std::string& name) {
  for (const auto& m : Members()) {
    if (name == m.name) return &m;
  }
  return nullptr;
}

const PropertySpec* FindProperty(const std::string& name) {
  for (const auto& p : Properties()) {
    if (name == p.name) return &p;
  }
  return nullptr;
}

}  // namespace lumivex::cli
