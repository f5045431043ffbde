// Enumerations of the automation surface, with the names and values the type library declares.
#pragma once

#include <cstdint>

namespace lumivex {

enum sceReturnCode : std::int32_t { sceSuccess = 0, sceCanceled = 1, sceError = 2 };

enum sceEncoderState : std::int32_t { sceUnknown = 0, sceClosed = 1, sceOpened = 2, sceReady = 3 };

enum sceCardTypes : std::int32_t {
  sceUnhandled = 0,
  sceUnknownType = 1,
  sceMifare1K = 17,
  sceMifare4K = 18,
  sceMifareUltralight = 33,
  sceDESFire = 49,
  sceRfid125KHz = 65,
  scePicoPass2KS = 81,
};

// MIFARE data-block access levels: one A value plus one B value.
enum SCBS_SecurityLevelEnum : std::int32_t {
  scbs_A_Nothing = 0,
  scbs_A_Read = 1,
  scbs_A_Write = 2,
  scbs_A_ReadWrite = 3,
  scbs_B_Nothing = 0,
  scbs_B_Read = 4,
  scbs_B_Write = 8,
  scbs_B_ReadWrite = 12,
};

// MIFARE sector-trailer access levels: one A value plus one B value.
enum SCSS_SecurityLevelEnum : std::int32_t {
  scss_A_Nothing = 0,
  scss_A_WriteKeys = 1,
  scss_A_WriteConditions = 2,
  scss_A_WriteKeysConditions = 3,
  scss_B_Nothing = 0,
  scss_B_WriteKeys = 4,
  scss_B_WriteConditions = 8,
  scss_B_WriteKeysConditions = 12,
};

// DESFire key settings: flags in the low nibble, the key that may change keys in the high nibble.
enum DesfireKeySettings : std::int32_t {
  dfkConfigurationFrozen = 0,
  dfkConfigurationChangeable = 8,
  dfkRootCreateDeleteWithMasterK = 0,
  dfkRootDeleteWithMasterK = 4,
  dfkRootInfosWithMasterK = 0,
  dfkRootInfosWithoutMasterK = 2,
  dfkRootMasterKFrozen = 0,
  dfkRootMasterKChangeable = 1,
  dfkApplChangeKeyWithMasterK = 0,
  dfkApplChangeKeyWithKey01 = 16,
  dfkApplChangeKeyWithKey02 = 32,
  dfkApplChangeKeyWithKey03 = 48,
  dfkApplChangeKeyWithKey04 = 64,
  dfkApplChangeKeyWithKey05 = 80,
  dfkApplChangeKeyWithKey06 = 96,
  dfkApplChangeKeyWithKey07 = 112,
  dfkApplChangeKeyWithKey08 = 128,
  dfkApplChangeKeyWithKey09 = 144,
  dfkApplChangeKeyWithKey10 = 160,
  dfkApplChangeKeyWithKey11 = 176,
  dfkApplChangeKeyWithKey12 = 192,
  dfkApplChangeKeyWithKey13 = 208,
  dfkApplChangeKeyWithItself = 224,
  dfkApplChangeKeyLocked = 240,
  dfkApplCreateDeleteWithMasterK = 0,
  dfkApplDeleteWithMasterK = 4,
  dfkApplInfosWithMasterK = 0,
  dfkApplInfosWithoutMasterK = 2,
  dfkApplMasterKFrozen = 0,
  dfkApplMasterKChangeable = 1,
  dfkRootDefault = 15,
  dfkApplDefault = 15,
};

// Selectors of DESFireGetVersion: a non-negative value indexes the 28-byte GetVersion answer.
enum DesfireVersionBytes : std::int32_t {
  dfvAllData = -2,
  dfvStorageSize = -1,
  dfvHardwareVendorId = 0,
  dfvHardwareType = 1,
  dfvHardwareSubType = 2,
  dfvHardwareMajorVer = 3,
  dfvHardwareMinorVer = 4,
  dfvHardwareStorageSize = 5,
  dfvHardwareProtocol = 6,
  dfvSoftwareVendorId = 7,
  dfvSoftwareType = 8,
  dfvSoftwareSubType = 9,
  dfvSoftwareMajorVer = 10,
  dfvSoftwareMinorVer = 11,
  dfvSoftwareStorageSize = 12,
  dfvSoftwareProtocol = 13,
  dfvUID = 14,
  dfvBatchNo = 21,
  dfvProductionWeek = 26,
  dfvProductionYear = 27,
};

enum DesfireCommunicationSettings : std::int32_t { dfcPlain = 0, dfcPlainMac = 1, dfcCiphered = 3 };

enum DesfireAccessRights : std::int32_t {
  dfaAllow_0 = 0,
  dfaAllow_1 = 1,
  dfaAllow_2 = 2,
  dfaAllow_3 = 3,
  dfaAllow_4 = 4,
  dfaAllow_5 = 5,
  dfaAllow_6 = 6,
  dfaAllow_7 = 7,
  dfaAllow_8 = 8,
  dfaAllow_9 = 9,
  dfaAllow_10 = 10,
  dfaAllow_11 = 11,
  dfaAllow_12 = 12,
  dfaAllow_13 = 13,
  dfaAllowAll = 14,
  dfaDenyAll = 15,
};

enum DesfireFileTypes : std::int32_t {
  dftData = 0,
  dftBackup = 1,
  dftValue = 2,
  dftLinear = 3,
  dftCyclic = 4,
};

}  // namespace lumivex
