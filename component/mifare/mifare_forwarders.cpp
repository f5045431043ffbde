// The unprefixed MIFARE members, kept for hosts written against the older names: each passes its
// arguments unchanged to the member with the Mifare prefix and returns its result.
#include "component/encoder.h"

namespace lumivex {

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

}  // namespace lumivex
