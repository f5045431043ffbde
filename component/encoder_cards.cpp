// The Encoder's card members: MIFARE Classic (the unprefixed ones forward to them unchanged, for
// hosts written against the older names) and DESFire.
#include "component/encoder.h"
#include "component/encoder_parts.h"

namespace lumivex {

// ---- MIFARE Classic ----

sceReturnCode Encoder::MifareReadDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                          std::uint8_t KeyType, std::string& BlocContents) {
  return parts_->mifare.ReadDataBloc(BlocNumber, Key, KeyType, BlocContents);
}

sceReturnCode Encoder::MifareWriteDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                           std::uint8_t KeyType, std::string& BlocContents) {
  return parts_->mifare.WriteDataBloc(BlocNumber, Key, KeyType, BlocContents);
}

sceReturnCode Encoder::MifareReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                                  std::int32_t& SerialNumber,
                                                  std::uint8_t& CheckSum,
                                                  std::string& ManufacturerInfo) {
  return parts_->mifare.ReadManufacturerCode(Key, KeyType, SerialNumber, CheckSum,
                                             ManufacturerInfo);
}

sceReturnCode Encoder::MifareWriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                              std::uint8_t KeyType, std::uint8_t FromByte,
                                              std::uint8_t ToByte, std::string& BlocContents) {
  return parts_->mifare.WriteBytesInBloc(BlocNumber, Key, KeyType, FromByte, ToByte, BlocContents);
}

sceReturnCode Encoder::MifareWriteValueBloc(std::int32_t BlocNumber, const std::string& Key,
                                            std::uint8_t KeyType, std::int32_t Value) {
  return parts_->mifare.WriteValueBloc(BlocNumber, Key, KeyType, Value);
}

sceReturnCode Encoder::MifareReadSectorTrailer(
    std::int32_t SectorNumber, const std::string& Key, std::uint8_t KeyType, std::uint8_t& KeysUsed,
    SCBS_SecurityLevelEnum& Security0, SCBS_SecurityLevelEnum& Security1,
    SCBS_SecurityLevelEnum& Security2, SCSS_SecurityLevelEnum& Conditions, std::uint8_t& BX) {
  TrailerLevels trailer;
  const sceReturnCode result =
      parts_->mifare.ReadSectorTrailer(SectorNumber, Key, KeyType, trailer);
  if (result == sceError) return result;  // the outputs keep what they held
  KeysUsed = trailer.keysUsed;
  Security0 = trailer.blocks[0];
  Security1 = trailer.blocks[1];
  Security2 = trailer.blocks[2];
  Conditions = trailer.conditions;
  BX = trailer.bx;
  return result;
}

sceReturnCode Encoder::MifareWriteSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                                std::uint8_t KeyType, const std::string& KeyA,
                                                const std::string& KeyB, std::uint8_t KeysToUse,
                                                SCBS_SecurityLevelEnum Security0,
                                                SCBS_SecurityLevelEnum Security1,
                                                SCBS_SecurityLevelEnum Security2,
                                                SCSS_SecurityLevelEnum Conditions,
                                                const std::optional<Variant>& BX) {
  return parts_->mifare.WriteSectorTrailer(
      SectorNumber, Key, KeyType, KeyA, KeyB,
      {KeysToUse, {Security0, Security1, Security2}, Conditions, BX});
}

void Encoder::MifareSetAccessCondition(std::int32_t AccessConditionNumber,
                                       const std::string& NewValue) {
  parts_->mifare.SetAccessCondition(AccessConditionNumber, NewValue);
}

sceReturnCode Encoder::ReadDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                    std::uint8_t KeyType, std::string& BlocContents) {
  return MifareReadDataBloc(BlocNumber, Key, KeyType, BlocContents);
}

sceReturnCode Encoder::ReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                            std::int32_t& SerialNumber, std::uint8_t& CheckSum,
                                            std::string& ManufacturerInfo) {
  return MifareReadManufacturerCode(Key, KeyType, SerialNumber, CheckSum, ManufacturerInfo);
}

sceReturnCode Encoder::WriteDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                     std::uint8_t KeyType, std::string& BlocContents) {
  return MifareWriteDataBloc(BlocNumber, Key, KeyType, BlocContents);
}

sceReturnCode Encoder::WriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                        std::uint8_t KeyType, std::uint8_t FromByte,
                                        std::uint8_t ToByte, std::string& BlocContents) {
  return MifareWriteBytesInBloc(BlocNumber, Key, KeyType, FromByte, ToByte, BlocContents);
}

sceReturnCode Encoder::WriteValueBloc(std::int32_t BlocNumber, const std::string& Key,
                                      std::uint8_t KeyType, std::int32_t Value) {
  return MifareWriteValueBloc(BlocNumber, Key, KeyType, Value);
}

sceReturnCode Encoder::ReadSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                         std::uint8_t KeyType, std::uint8_t& KeysUsed,
                                         SCBS_SecurityLevelEnum& Security0,
                                         SCBS_SecurityLevelEnum& Security1,
                                         SCBS_SecurityLevelEnum& Security2,
                                         SCSS_SecurityLevelEnum& Conditions, std::uint8_t& BX) {
  return MifareReadSectorTrailer(SectorNumber, Key, KeyType, KeysUsed, Security0, Security1,
                                 Security2, Conditions, BX);
}

sceReturnCode Encoder::WriteSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                          std::uint8_t KeyType, const std::string& KeyA,
                                          const std::string& KeyB, std::uint8_t KeysToUse,
                                          SCBS_SecurityLevelEnum Security0,
                                          SCBS_SecurityLevelEnum Security1,
                                          SCBS_SecurityLevelEnum Security2,
                                          SCSS_SecurityLevelEnum Conditions,
                                          const std::optional<Variant>& BX) {
  return MifareWriteSectorTrailer(SectorNumber, Key, KeyType, KeyA, KeyB, KeysToUse, Security0,
                                  Security1, Security2, Conditions, BX);
}

void Encoder::SetAccessCondition(std::int32_t AccessConditionNumber, const std::string& NewValue) {
  MifareSetAccessCondition(AccessConditionNumber, NewValue);
}

// ---- DESFire: selection, card and applications, keys ----

sceReturnCode Encoder::DESFireSelectRoot(const std::string& KeyValue) {
  return parts_->desfire.SelectRoot(KeyValue);
}

sceReturnCode Encoder::DESFireSelectApplication(const std::string& ApplicationId,
                                                std::int32_t KeyNumber,
                                                const std::string& KeyValue) {
  return parts_->desfire.SelectApplication(ApplicationId, KeyNumber, KeyValue);
}

sceReturnCode Encoder::DESFireFormat() {
  return parts_->applications.Format();
}

sceReturnCode Encoder::DESFireCreateApplication(const std::string& ApplicationId,
                                                DesfireKeySettings KeySettings,
                                                std::int32_t NumOfKeys) {
  return parts_->applications.CreateApplication(ApplicationId, KeySettings, NumOfKeys);
}

sceReturnCode Encoder::DESFireDeleteApplication(const std::string& ApplicationId) {
  return parts_->applications.DeleteApplication(ApplicationId);
}

sceReturnCode Encoder::DESFireGetApplications(std::string& Applications) {
  return parts_->applications.GetApplications(Applications);
}

sceReturnCode Encoder::DESFireGetVersion(DesfireVersionBytes RequestedInformation,
                                         Variant& Information) {
  return parts_->applications.GetVersion(RequestedInformation, Information);
}

sceReturnCode Encoder::DESFireChangeKey(std::int32_t KeyNumber, const std::string& OldKey,
                                        const std::string& NewKey) {
  return parts_->keys.ChangeKey(KeyNumber, OldKey, NewKey);
}

sceReturnCode Encoder::DESFireGetKeyVersion(std::int32_t KeyNumber, std::int32_t& KeyVersion) {
  return parts_->keys.GetKeyVersion(KeyNumber, KeyVersion);
}

sceReturnCode Encoder::DESFireGetKeySettings(std::int32_t& KeySettings, std::int32_t& KeyCount) {
  return parts_->keys.GetKeySettings(KeySettings, KeyCount);
}

sceReturnCode Encoder::DESFireChangeKeySettings(DesfireKeySettings KeySettings) {
  return parts_->keys.ChangeKeySettings(KeySettings);
}

}  // namespace lumivex
