// The Encoder: the one creatable class of the component. Its public members mirror the automation
// interface _Encoder one to one (same names, same argument order, by-reference outputs as
// references, sceReturnCode results), so the COM server and the command-line tool stay thin.
// No exception leaves a public member: failures are recorded in LastError() and reported as
// sceError.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/cerror.h"
#include "component/types.h"
#include "component/variant.h"
#include "platform/pcsc_api.h"
#include "platform/platform.h"

namespace lumivex {

namespace crypto {
class DES;
}
namespace desfire {
struct Failure;
}

// Optional fields of SetLastError: a field left empty keeps the record's current value.
// The {} initialisers let callers name only the fields they set ({.Number = ..., .RdrCommand =
// ...}) without -Wmissing-field-initializers.
struct ErrorFields {
  std::optional<std::int32_t> Number{};
  std::optional<std::string> Description{};
  std::optional<std::int32_t> LastDllError{};
  std::optional<std::string> ComFunction{};
  std::optional<std::string> RdrCommand{};
  std::optional<std::string> RdrRetCode{};
};

// Command codes of the command engine (family in the high byte).
namespace cmd {
constexpr std::int32_t Escape = 0x0101;
constexpr std::int32_t EscapeExt = 0x0102;
constexpr std::int32_t GetUID = 0x0201;
constexpr std::int32_t ContinueResponse = 0x0203;
constexpr std::int32_t LoadKey = 0x0301;
constexpr std::int32_t GeneralAuthenticate = 0x0302;
constexpr std::int32_t MifareClassicRead = 0x0303;
constexpr std::int32_t MifareClassicWrite = 0x0304;
constexpr std::int32_t ReadBinary = 0x0305;
constexpr std::int32_t DesfireSelectApplication = 0x0401;
constexpr std::int32_t DesfireAuthenticate1 = 0x0402;
constexpr std::int32_t DesfireAuthenticate2 = 0x0403;
constexpr std::int32_t DesfireAuthenticate3 = 0x0404;
constexpr std::int32_t DesfireGetVersion = 0x0405;
constexpr std::int32_t DesfireFormat = 0x0406;
constexpr std::int32_t DesfireGetApplications = 0x0407;
constexpr std::int32_t DesfireCreateApplication = 0x0408;
constexpr std::int32_t DesfireDeleteApplication = 0x0409;
constexpr std::int32_t DesfireGetKeyVersion = 0x0411;
constexpr std::int32_t DesfireGetKeySettings = 0x0412;
constexpr std::int32_t DesfireChangeKey = 0x0413;
constexpr std::int32_t DesfireChangeKeySettings = 0x0414;
constexpr std::int32_t DesfireGetFileIds = 0x0421;
constexpr std::int32_t DesfireGetFileSettings = 0x0422;
constexpr std::int32_t DesfireChangeFileSettings1 = 0x0423;
constexpr std::int32_t DesfireChangeFileSettings2 = 0x0424;
constexpr std::int32_t DesfireCreateStdDataFile = 0x0425;
constexpr std::int32_t DesfireCreateBackupDataFile = 0x0426;
constexpr std::int32_t DesfireCreateValueFile = 0x0427;
constexpr std::int32_t DesfireCreateLinearRecordFile = 0x0428;
constexpr std::int32_t DesfireCreateCyclicRecordFile = 0x0429;
constexpr std::int32_t DesfireDeleteFile = 0x042A;
constexpr std::int32_t DesfireReadData = 0x0431;
constexpr std::int32_t DesfireWriteData = 0x0432;
constexpr std::int32_t DesfireReadRecords = 0x0433;
constexpr std::int32_t DesfireWriteRecord = 0x0434;
constexpr std::int32_t DesfireClearRecordFile = 0x0435;
constexpr std::int32_t DesfireGetValue = 0x0436;
constexpr std::int32_t DesfireDebit = 0x0437;
constexpr std::int32_t DesfireCredit = 0x0438;
constexpr std::int32_t DesfireLimitedCredit = 0x0439;
constexpr std::int32_t DesfireCommitTransaction = 0x043A;
constexpr std::int32_t DesfireAbortTransaction = 0x043B;
constexpr std::int32_t DesfireSendNextData = 0x0441;
}  // namespace cmd

class Encoder {
 public:
  // A receiver of trace lines that leave the process (key material is masked before it is called).
  using TraceSink = std::function<void(std::string_view line)>;

  // The platform's bindings: DefaultPlatform() for the system's own, or test doubles.
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
  friend struct EncoderTestPeer;  // tests reach the private routines through it

  // ---- Last error (encoder.cpp) ----
  void SetLastError(const ErrorFields& fields);
  void ClearLastError(const std::string& ComFunction = "");
  void FinishLastError(const std::string& FunctionName);
  void Trace(const std::string& line);
  // Remembers a secret (key, session key, cryptogram) so the trace masks it before it leaves.
  void RememberSecret(const std::string& hex);
  crypto::DES& Des();  // created on first use, one per Encoder

  // ---- Session (session.cpp) ----
  sceReturnCode OpenEncoderCore(std::int32_t Handle, bool ReportFailure);
  sceReturnCode SelectCardInRange();
  PcscLong ConnectCard();  // exclusive connect of Device, traced
  void CloseEncoderQuietly();
  std::string ReaderGetAttr(const std::string& Template, PcscDword AttributeId, int Kind);
  std::vector<std::uint8_t> ReadAtr();
  void LetATRString(const std::string& atr);  // the private ATRString setter: identification

  // ---- Command engine (command_engine.cpp) ----
  sceReturnCode EncoderCommand(std::int32_t Command, const std::vector<std::string>& Params,
                               std::string& Response, std::string& StatusWord, bool& AutoContinue);

  // ---- MIFARE (component/mifare/) ----
  // Runs a public MIFARE operation in its frame (defined in mifare/operation_frame.h).
  template <typename Body>
  sceReturnCode MifareOperation(const char* Name, Body&& body);
  // Records the error only when the inner routine that failed left none.
  void MifareErrorIfNone(std::int32_t Number, const char* Description);
  sceReturnCode MifareAuthenticate(std::uint8_t KeyType, std::int32_t BlocNumber,
                                   const std::string& Key);
  std::string NormaliseMifareKey(const std::string& key);

  // ---- DESFire (component/desfire/) ----
  // Runs a public DESFire operation in its frame (defined in desfire/desfire_operation.h).
  template <typename Body>
  sceReturnCode DESFireOperation(const std::string& Operation, Body&& body);
  // Sends a native command and requires the answer 9100; otherwise records the failure.
  sceReturnCode DESFireSendExpectOk(std::int32_t Command, const std::vector<std::string>& Params,
                                    const std::string& Operation);
  // The shared bodies of look-alike operations, told apart by command, name and file kinds.
  sceReturnCode DESFireCreateFile(std::int32_t Command, const std::string& Operation,
                                  std::int32_t MaxFileNo, std::int32_t FileNumber,
                                  std::int32_t CommunicationSettings, std::int32_t KeyRead,
                                  std::int32_t KeyWrite, std::int32_t KeyReadWrite,
                                  std::int32_t KeyManage, const desfire::Failure* KindFailure,
                                  const std::vector<std::string>& KindParams);
  sceReturnCode DESFireChangeValue(std::int32_t Command, const std::string& Operation,
                                   std::int32_t FileNo, std::int32_t Amount,
                                   const desfire::Failure& AtBoundary);
  sceReturnCode DESFireEndTransaction(std::int32_t Command, const std::string& Operation);
  sceReturnCode DESFireWrite(std::int32_t Command, const std::string& Operation,
                             const std::vector<std::int32_t>& FileKinds, std::int32_t FileNo,
                             std::int32_t Offset, std::int32_t Length,
                             const std::string& DataString, bool IsDataHexaString);
  sceReturnCode DESFireRead(std::int32_t Command, const std::string& Operation,
                            const std::vector<std::int32_t>& FileKinds, std::int32_t FileNo,
                            std::int32_t Offset, std::int32_t Length, std::string& DataString,
                            bool IsDataHexaString);
  std::string DESFireEncipher(const std::vector<std::pair<std::string, std::string>>& rows);
  sceReturnCode DESFireGetFileCharacteristics(std::int32_t FileNo, std::int32_t& FileType,
                                              std::int32_t& CommunicationSettings);
  [[nodiscard]] bool DESFireIsAuthenticated() const {
    return desfireKeyNumber_ >= 0 && desfireKeyNumber_ <= 13;
  }
  [[nodiscard]] bool DESFireAtRoot() const { return desfireApplicationId_ == "000000"; }
  // The file exists and is of one of the allowed kinds; otherwise the failure is recorded.
  sceReturnCode DESFireCheckFileKind(std::int32_t FileNo,
                                     const std::vector<std::int32_t>& AllowedTypes,
                                     const std::string& Caller);
  sceReturnCode DESFireFramedSend(std::int32_t Command, const std::string& Header,
                                  const std::string& Payload,
                                  const std::vector<std::int32_t>& AllowedTypes,
                                  std::int32_t FileNo, const std::string& Caller);
  sceReturnCode DESFireFramedReceive(std::int32_t Command, const std::vector<std::string>& Params,
                                     const std::vector<std::int32_t>& AllowedTypes,
                                     std::int32_t FileNo, const std::string& Caller,
                                     std::string& Answer);
  void WipeDesfireSession();

  // ---- Fields ----
  Platform platform_;
  std::string device_ = "<unknown>";
  std::int32_t protocol_ = 1;
  bool forceReconnect_ = true;
  PcscContext hContext_ = 0;
  PcscHandle hCard_ = 0;
  PcscDword activeProtocol_ = 0;
  PcscIoRequest sendPci_{};
  std::string atrString_;
  std::int32_t cardType_ = sceUnknownType;
  std::int32_t serialNumberLength_ = -1;
  std::unique_ptr<CError> lastError_;
  std::chrono::milliseconds openWait_{5000};
  std::string lastStatusWord_ = "FFFF";  // status word of the last EncoderCommand

  TraceSink traceSink_;
  std::vector<std::string> secrets_;

  std::unique_ptr<crypto::DES> des_;

  // MIFARE state.
  std::vector<std::int32_t> valueBlocs_;
  std::array<std::string, 10> accessConditions_;

  // DESFire state.
  std::string desfireApplicationId_;
  std::int32_t desfireKeyNumber_ = 0;
  std::string desfireSessionKey_;
  std::vector<std::uint8_t> desfireVersion_;
};

}  // namespace lumivex
