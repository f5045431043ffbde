// The Encoder: the one creatable class of the component. Its public members mirror the automation
// interface _Encoder one to one (same names, same argument order, by-reference outputs as
// references, sceReturnCode results), so the COM server and the command-line tool stay thin.
// No exception leaves a public member: failures are recorded in LastError() and reported as
// sceError.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "component/cerror.h"
#include "component/types.h"
#include "component/variant.h"
#include "platform/platform.h"

namespace lumivex {

class Encoder {
 public:
  // A receiver of trace lines that leave the process (key material is masked before it is called).
  using TraceSink = std::function<void(std::string_view line)>;

  // The platform's bindings: DefaultPlatform() for the system's own, or test doubles. A binding
  // left out is replaced by a stand-in (see fallback_platform.h).
  explicit Encoder(Platform platform);
  ~Encoder();
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  // ---- Object, parameters, trace log, last error ----
  std::string Parameters();
  void Parameters(const std::string& text);
  CError& LastError();
  void WriteLog(const std::string& sMessage);

  // ---- Reader session ----
  sceReturnCode OpenEncoder(std::int32_t Handle);
  void ReOpenEncoder();
  sceReturnCode CloseEncoder();
  sceEncoderState EncoderState();
  std::string ReaderType();
  std::string ATRString();
  sceReturnCode ReadSerialNumber(std::string& SerialNumber);

  // ---- Raw commands ----
  sceReturnCode Escape(const std::string& Request, std::string& Response);
  sceReturnCode EscapeExt(const std::string& Request, std::string& Response, std::string& RetCode);

  // ---- Texts ----
  std::string GetResponseText(const std::string& sErrorCode, std::string* sErrorCaller = nullptr);

  // ---- Card identification ----
  std::int32_t CardType();  // a sceCardTypes value, or any number the card list gives
  std::int32_t SerialNumberLength();

  // ---- Host information and configuration ----
  std::string GetInformation();
  // Shows the configuration dialog (through the dialogs seam) in the Language ("francais" or
  // English); on confirmation the chosen reader and protocol become Device and Protocol.
  sceReturnCode Configure(const std::string& Language);

  // ---- MIFARE Classic: blocks ----
  sceReturnCode MifareReadDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                   std::uint8_t KeyType, std::string& BlocContents);
  sceReturnCode MifareWriteDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                    std::uint8_t KeyType, std::string& BlocContents);
  sceReturnCode MifareReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                           std::int32_t& SerialNumber, std::uint8_t& CheckSum,
                                           std::string& ManufacturerInfo);
  sceReturnCode MifareWriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                       std::uint8_t KeyType, std::uint8_t FromByte,
                                       std::uint8_t ToByte, std::string& BlocContents);
  // ---- MIFARE Classic: value blocks, sector trailers, access conditions ----
  sceReturnCode MifareWriteValueBloc(std::int32_t BlocNumber, const std::string& Key,
                                     std::uint8_t KeyType, std::int32_t Value);
  sceReturnCode MifareReadSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                        std::uint8_t KeyType, std::uint8_t& KeysUsed,
                                        SCBS_SecurityLevelEnum& Security0,
                                        SCBS_SecurityLevelEnum& Security1,
                                        SCBS_SecurityLevelEnum& Security2,
                                        SCSS_SecurityLevelEnum& Conditions, std::uint8_t& BX);
  sceReturnCode MifareWriteSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                         std::uint8_t KeyType, const std::string& KeyA,
                                         const std::string& KeyB, std::uint8_t KeysToUse,
                                         SCBS_SecurityLevelEnum Security0,
                                         SCBS_SecurityLevelEnum Security1,
                                         SCBS_SecurityLevelEnum Security2,
                                         SCSS_SecurityLevelEnum Conditions,
                                         const std::optional<Variant>& BX = std::nullopt);
  void MifareSetAccessCondition(std::int32_t AccessConditionNumber, const std::string& NewValue);

  // Unprefixed forwarders kept for hosts written against the older names.
  sceReturnCode ReadDataBloc(std::int32_t BlocNumber, const std::string& Key, std::uint8_t KeyType,
                             std::string& BlocContents);
  sceReturnCode ReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                     std::int32_t& SerialNumber, std::uint8_t& CheckSum,
                                     std::string& ManufacturerInfo);
  sceReturnCode WriteDataBloc(std::int32_t BlocNumber, const std::string& Key, std::uint8_t KeyType,
                              std::string& BlocContents);
  sceReturnCode WriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                 std::uint8_t KeyType, std::uint8_t FromByte, std::uint8_t ToByte,
                                 std::string& BlocContents);
  sceReturnCode WriteValueBloc(std::int32_t BlocNumber, const std::string& Key,
                               std::uint8_t KeyType, std::int32_t Value);
  sceReturnCode ReadSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                  std::uint8_t KeyType, std::uint8_t& KeysUsed,
                                  SCBS_SecurityLevelEnum& Security0,
                                  SCBS_SecurityLevelEnum& Security1,
                                  SCBS_SecurityLevelEnum& Security2,
                                  SCSS_SecurityLevelEnum& Conditions, std::uint8_t& BX);
  sceReturnCode WriteSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                   std::uint8_t KeyType, const std::string& KeyA,
                                   const std::string& KeyB, std::uint8_t KeysToUse,
                                   SCBS_SecurityLevelEnum Security0,
                                   SCBS_SecurityLevelEnum Security1,
                                   SCBS_SecurityLevelEnum Security2,
                                   SCSS_SecurityLevelEnum Conditions,
                                   const std::optional<Variant>& BX = std::nullopt);
  void SetAccessCondition(std::int32_t AccessConditionNumber, const std::string& NewValue);

  // ---- DESFire: selection and authentication ----
  sceReturnCode DESFireSelectRoot(const std::string& KeyValue);
  sceReturnCode DESFireSelectApplication(const std::string& ApplicationId, std::int32_t KeyNumber,
                                         const std::string& KeyValue);
  // ---- DESFire: card and applications ----
  sceReturnCode DESFireFormat();
  sceReturnCode DESFireCreateApplication(const std::string& ApplicationId,
                                         DesfireKeySettings KeySettings, std::int32_t NumOfKeys);
  sceReturnCode DESFireDeleteApplication(const std::string& ApplicationId);
  sceReturnCode DESFireGetApplications(std::string& Applications);
  sceReturnCode DESFireGetVersion(DesfireVersionBytes RequestedInformation, Variant& Information);
  // ---- DESFire: keys ----
  sceReturnCode DESFireChangeKey(std::int32_t KeyNumber, const std::string& OldKey,
                                 const std::string& NewKey);
  sceReturnCode DESFireGetKeyVersion(std::int32_t KeyNumber, std::int32_t& KeyVersion);
  sceReturnCode DESFireGetKeySettings(std::int32_t& KeySettings, std::int32_t& KeyCount);
  sceReturnCode DESFireChangeKeySettings(DesfireKeySettings KeySettings);
  // ---- DESFire: files ----
  sceReturnCode DESFireGetFileIDs(std::string& FileIds);
  sceReturnCode DESFireCreateStdDataFile(std::int32_t FileNumber,
                                         std::int32_t CommunicationSettings, std::int32_t KeyRead,
                                         std::int32_t KeyWrite, std::int32_t KeyReadWrite,
                                         std::int32_t KeyManage, std::int32_t FileSize);
  sceReturnCode DESFireCreateBackupDataFile(std::int32_t FileNumber,
                                            std::int32_t CommunicationSettings,
                                            std::int32_t KeyRead, std::int32_t KeyWrite,
                                            std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                            std::int32_t FileSize);
  sceReturnCode DESFireCreateValueFile(std::int32_t FileNumber, std::int32_t CommunicationSettings,
                                       std::int32_t KeyRead, std::int32_t KeyWrite,
                                       std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                       std::int32_t LowerLimit, std::int32_t UpperLimit,
                                       std::int32_t InitialValue, bool LimitedCreditEnabled);
  sceReturnCode DESFireCreateLinearRecordFile(std::int32_t FileNumber,
                                              std::int32_t CommunicationSettings,
                                              std::int32_t KeyRead, std::int32_t KeyWrite,
                                              std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                              std::int32_t RecordSize,
                                              std::int32_t MaxNumOfRecords);
  sceReturnCode DESFireCreateCyclicRecordFile(std::int32_t FileNumber,
                                              std::int32_t CommunicationSettings,
                                              std::int32_t KeyRead, std::int32_t KeyWrite,
                                              std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                              std::int32_t RecordSize,
                                              std::int32_t MaxNumOfRecords);
  sceReturnCode DESFireDeleteFile(std::int32_t FileNumber);
  sceReturnCode DESFireGetFileSettings(std::int32_t FileNo, std::string& Information);
  sceReturnCode DESFireChangeFileSettings(std::int32_t FileNo, std::int32_t CommunicationSettings,
                                          std::int32_t KeyRead, std::int32_t KeyWrite,
                                          std::int32_t KeyReadWrite, std::int32_t KeyManage);
  // ---- DESFire: data and records ----
  sceReturnCode DESFireWriteData(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                 const std::string& DataString, bool IsDataHexaString);
  sceReturnCode DESFireReadData(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                std::string& DataString, bool IsDataHexaString);
  sceReturnCode DESFireWriteRecord(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                   const std::string& DataString, bool IsDataHexaString);
  sceReturnCode DESFireReadRecords(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                   std::string& DataString, bool IsDataHexaString);
  sceReturnCode DESFireClearRecordFile(std::int32_t FileNo);
  // ---- DESFire: values and transactions ----
  sceReturnCode DESFireGetValue(std::int32_t FileNo, std::int32_t& ValueData);
  sceReturnCode DESFireDebit(std::int32_t FileNo, std::int32_t Amount);
  sceReturnCode DESFireCredit(std::int32_t FileNo, std::int32_t Amount);
  sceReturnCode DESFireLimitedCredit(std::int32_t FileNo, std::int32_t Amount);
  sceReturnCode DESFireCommitTransaction();
  sceReturnCode DESFireAbortTransaction();

  // ---- C++-only controls (not on the automation surface) ----
  // Where trace lines go once they leave the component; empty = discarded (the default).
  void SetTraceSink(TraceSink sink);
  // The wait after each open attempt (five seconds unless a caller such as the CLI chooses).
  void SetOpenWait(std::chrono::milliseconds wait);

 private:
  // The reader session, the command engine, the MIFARE and DESFire objects and what they report
  // through (encoder.cpp).
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace lumivex
