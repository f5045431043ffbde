// The enumerations of the type library: names and values as hosts see them (and as scripts of the
// command-line tool may write them).
#include "component/surface/member_info.h"

namespace lumivex::surface {

namespace {

std::vector<EnumInfo> Build() {
  std::vector<EnumInfo> enums = {
      {"sceReturnCode", {{"sceSuccess", 0}, {"sceCanceled", 1}, {"sceError", 2}}},
      {"sceEncoderState", {{"sceUnknown", 0}, {"sceClosed", 1}, {"sceOpened", 2}, {"sceReady", 3}}},
      {"sceCardTypes",
       {{"sceUnhandled", 0},
        {"sceUnknownType", 1},
        {"sceMifare1K", 17},
        {"sceMifare4K", 18},
        {"sceMifareUltralight", 33},
        {"sceDESFire", 49},
        {"sceRfid125KHz", 65},
        {"scePicoPass2KS", 81}}},
      {"SCBS_SecurityLevelEnum",
       {{"scbs_A_Nothing", 0},
        {"scbs_A_Read", 1},
        {"scbs_A_Write", 2},
        {"scbs_A_ReadWrite", 3},
        {"scbs_B_Nothing", 0},
        {"scbs_B_Read", 4},
        {"scbs_B_Write", 8},
        {"scbs_B_ReadWrite", 12}}},
      {"SCSS_SecurityLevelEnum",
       {{"scss_A_Nothing", 0},
        {"scss_A_WriteKeys", 1},
        {"scss_A_WriteConditions", 2},
        {"scss_A_WriteKeysConditions", 3},
        {"scss_B_Nothing", 0},
        {"scss_B_WriteKeys", 4},
        {"scss_B_WriteConditions", 8},
        {"scss_B_WriteKeysConditions", 12}}},
      {"DesfireKeySettings",
       {{"dfkConfigurationFrozen", 0},
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
        {"dfkApplDefault", 15}}},
      {"DesfireVersionBytes",
       {{"dfvAllData", -2},
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
        {"dfvProductionYear", 27}}},
      {"DesfireCommunicationSettings", {{"dfcPlain", 0}, {"dfcPlainMac", 1}, {"dfcCiphered", 3}}},
      {"DesfireAccessRights", {}},
      {"DesfireFileTypes",
       {{"dftData", 0}, {"dftBackup", 1}, {"dftValue", 2}, {"dftLinear", 3}, {"dftCyclic", 4}}},
  };
  // dfaAllow_0 .. dfaAllow_13, then the two that are not key numbers.
  static const char* const kAllow[] = {"dfaAllow_0",  "dfaAllow_1", "dfaAllow_2",  "dfaAllow_3",
                                       "dfaAllow_4",  "dfaAllow_5", "dfaAllow_6",  "dfaAllow_7",
                                       "dfaAllow_8",  "dfaAllow_9", "dfaAllow_10", "dfaAllow_11",
                                       "dfaAllow_12", "dfaAllow_13"};
  auto& rights = enums[8].members;
  for (std::int32_t key = 0; key < 14; ++key) rights.push_back({kAllow[key], key});
  rights.push_back({"dfaAllowAll", 14});
  rights.push_back({"dfaDenyAll", 15});
  return enums;
}

}  // namespace

const std::vector<EnumInfo>& Enumerations() {
  static const std::vector<EnumInfo> enums = Build();
  return enums;
}

const EnumMember* FindEnumMember(const std::string& name) {
  for (const auto& e : Enumerations()) {
    for (const auto& m : e.members) {
      if (name == m.name) return &m;
    }
  }
  return nullptr;
}

}  // namespace lumivex::surface
