// Files of the selected DESFire application: listing, the five kinds of file creation, deletion,
// and reading and changing a file's settings.
#include <algorithm>
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/desfire/desfire_operation.h"
#include "component/encoder.h"
#include "crypto/des.h"

namespace lumivex {

namespace {

using desfire::Failure;

// Highest file number of standard data files (and of deletion and settings) and of the other
// kinds, which are deliberately held to a narrower range.
constexpr std::int32_t kMaxFileNumber = 15;
constexpr std::int32_t kMaxFileNumberOtherKinds = 7;

bool ValidCreateCommSettings(std::int32_t value) {
  return value == dfcPlain || value == dfcPlainMac || value == dfcCiphered;
}

// The checks shared by file creation and the settings change, in their order: file number,
// communication settings, then read, write, read-and-write and change rights. Nothing when they
// pass.
const Failure* CheckFileArguments(std::int32_t fileNo, std::int32_t maxFileNo,
                                  bool commSettingsValid, std::int32_t keyRead,
                                  std::int32_t keyWrite, std::int32_t keyReadWrite,
                                  std::int32_t keyManage) {
  if (fileNo < 0 || fileNo > maxFileNo) return &desfire::fail::InvalidFileNumber;
  if (!commSettingsValid) return &desfire::fail::InvalidCommSettings;
  for (const std::int32_t right : {keyRead, keyWrite, keyReadWrite, keyManage}) {
    if (right < 0 || right > 15) return &desfire::fail::BadKeyNumber;
  }
  return nullptr;
}

bool InRange24(std::int32_t value) {
  return value >= 1 && value <= desfire::kMax24;
}

// The checks of each kind of file, made after the shared ones. Nothing when they pass.
const Failure* DataFileFailure(std::int32_t fileSize) {
  return InRange24(fileSize) ? nullptr : &desfire::fail::InvalidFileSize;
}

const Failure* RecordFileFailure(std::int32_t recordSize, std::int32_t recordCount) {
  if (!InRange24(recordSize)) return &desfire::fail::InvalidRecordSize;
  if (!InRange24(recordCount)) return &desfire::fail::InvalidRecordCount;
  return nullptr;
}

const Failure* ValueFileFailure(std::int32_t lower, std::int32_t upper, std::int32_t initial) {
  if (lower > upper) return &desfire::fail::InvalidLimits;
  if (initial < lower || initial > upper) return &desfire::fail::ValueOutOfBounds;
  return nullptr;
}

}  // namespace

sceReturnCode Encoder::DESFireGetFileIDs(std::string& FileIds) {
  const std::string op = "DESFireGetFileIDs";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireGetFileIds, {}, response, statusWord, autoContinue) !=
            sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return desfire::Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt,
                             statusWord);
    }
    std::vector<int> numbers;
    for (std::size_t i = 0; const auto byte = desfire::ByteAt(response, i); ++i) {
      numbers.push_back(*byte);
    }
    std::sort(numbers.begin(), numbers.end());
    std::string list;
    for (const int number : numbers) {
      if (!list.empty()) list += ',';
      list += std::to_string(number);
    }
    FileIds = list;
    return sceSuccess;
  });
}

// Every kind of file is created alike: the shared checks, the kind's own checks, then the
// command with number, communication settings and rights followed by the kind's fields.
sceReturnCode Encoder::DESFireCreateFile(std::int32_t Command, const std::string& Operation,
                                         std::int32_t MaxFileNo, std::int32_t FileNumber,
                                         std::int32_t CommunicationSettings, std::int32_t KeyRead,
                                         std::int32_t KeyWrite, std::int32_t KeyReadWrite,
                                         std::int32_t KeyManage, const Failure* KindFailure,
                                         const std::vector<std::string>& KindParams) {
  return DESFireOperation(Operation, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) {
      return Record(LastError(), desfire::fail::NotAuthenticated, Operation);
    }
    if (const Failure* failure = CheckFileArguments(FileNumber, MaxFileNo,
                                                    ValidCreateCommSettings(CommunicationSettings),
                                                    KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, Operation);
    }
    if (KindFailure != nullptr) return Record(LastError(), *KindFailure, Operation);
    std::vector<std::string> params{
        desfire::Hex2(FileNumber), desfire::Hex2(CommunicationSettings),
        desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite)};
    params.insert(params.end(), KindParams.begin(), KindParams.end());
    return DESFireSendExpectOk(Command, params, Operation);
  });
}

sceReturnCode Encoder::DESFireCreateStdDataFile(std::int32_t FileNumber,
                                                std::int32_t CommunicationSettings,
                                                std::int32_t KeyRead, std::int32_t KeyWrite,
                                                std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                                std::int32_t FileSize) {
  return DESFireCreateFile(cmd::DesfireCreateStdDataFile, "DESFireCreateStdDataFile",
                           kMaxFileNumber, FileNumber, CommunicationSettings, KeyRead, KeyWrite,
                           KeyReadWrite, KeyManage, DataFileFailure(FileSize),
                           {desfire::Le24(FileSize)});
}

sceReturnCode Encoder::DESFireCreateBackupDataFile(std::int32_t FileNumber,
                                                   std::int32_t CommunicationSettings,
                                                   std::int32_t KeyRead, std::int32_t KeyWrite,
                                                   std::int32_t KeyReadWrite,
                                                   std::int32_t KeyManage, std::int32_t FileSize) {
  return DESFireCreateFile(cmd::DesfireCreateBackupDataFile, "DESFireCreateBackupDataFile",
                           kMaxFileNumberOtherKinds, FileNumber, CommunicationSettings, KeyRead,
                           KeyWrite, KeyReadWrite, KeyManage, DataFileFailure(FileSize),
                           {desfire::Le24(FileSize)});
}

sceReturnCode Encoder::DESFireCreateValueFile(std::int32_t FileNumber,
                                              std::int32_t CommunicationSettings,
                                              std::int32_t KeyRead, std::int32_t KeyWrite,
                                              std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                              std::int32_t LowerLimit, std::int32_t UpperLimit,
                                              std::int32_t InitialValue,
                                              bool LimitedCreditEnabled) {
  return DESFireCreateFile(cmd::DesfireCreateValueFile, "DESFireCreateValueFile",
                           kMaxFileNumberOtherKinds, FileNumber, CommunicationSettings, KeyRead,
                           KeyWrite, KeyReadWrite, KeyManage,
                           ValueFileFailure(LowerLimit, UpperLimit, InitialValue),
                           {desfire::Le32(LowerLimit), desfire::Le32(UpperLimit),
                            desfire::Le32(InitialValue), LimitedCreditEnabled ? "01" : "00"});
}

sceReturnCode Encoder::DESFireCreateLinearRecordFile(
    std::int32_t FileNumber, std::int32_t CommunicationSettings, std::int32_t KeyRead,
    std::int32_t KeyWrite, std::int32_t KeyReadWrite, std::int32_t KeyManage,
    std::int32_t RecordSize, std::int32_t MaxNumOfRecords) {
  return DESFireCreateFile(cmd::DesfireCreateLinearRecordFile, "DESFireCreateLinearRecordFile",
                           kMaxFileNumberOtherKinds, FileNumber, CommunicationSettings, KeyRead,
                           KeyWrite, KeyReadWrite, KeyManage,
                           RecordFileFailure(RecordSize, MaxNumOfRecords),
                           {desfire::Le24(RecordSize), desfire::Le24(MaxNumOfRecords)});
}

sceReturnCode Encoder::DESFireCreateCyclicRecordFile(
    std::int32_t FileNumber, std::int32_t CommunicationSettings, std::int32_t KeyRead,
    std::int32_t KeyWrite, std::int32_t KeyReadWrite, std::int32_t KeyManage,
    std::int32_t RecordSize, std::int32_t MaxNumOfRecords) {
  return DESFireCreateFile(cmd::DesfireCreateCyclicRecordFile, "DESFireCreateCyclicRecordFile",
                           kMaxFileNumberOtherKinds, FileNumber, CommunicationSettings, KeyRead,
                           KeyWrite, KeyReadWrite, KeyManage,
                           RecordFileFailure(RecordSize, MaxNumOfRecords),
                           {desfire::Le24(RecordSize), desfire::Le24(MaxNumOfRecords)});
}

sceReturnCode Encoder::DESFireDeleteFile(std::int32_t FileNumber) {
  const std::string op = "DESFireDeleteFile";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNumber < 0 || FileNumber > kMaxFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    return DESFireSendExpectOk(cmd::DesfireDeleteFile, {desfire::Hex2(FileNumber)}, op);
  });
}

sceReturnCode Encoder::DESFireGetFileSettings(std::int32_t FileNo, std::string& Information) {
  const std::string op = "DESFireGetFileSettings";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNo < 0 || FileNo > kMaxFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireGetFileSettings, {desfire::Hex2(FileNo)}, response, statusWord,
                       autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    // File type, communication settings, access rights, then the fields of the file's kind.
    Information = desfire::AsText(Des().ConvertData(
        response, crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kSpacedHex)));
    return sceSuccess;
  });
}

sceReturnCode Encoder::DESFireChangeFileSettings(std::int32_t FileNo,
                                                 std::int32_t CommunicationSettings,
                                                 std::int32_t KeyRead, std::int32_t KeyWrite,
                                                 std::int32_t KeyReadWrite,
                                                 std::int32_t KeyManage) {
  const std::string op = "DESFireChangeFileSettings";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (const Failure* failure = CheckFileArguments(
            FileNo, kMaxFileNumber, CommunicationSettings >= 0 && CommunicationSettings <= 255,
            KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, op);
    }
    const std::string fileNumber = desfire::Hex2(FileNo);
    const std::string commSettings = desfire::Hex2(CommunicationSettings);
    const std::string rights = desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite);

    // A file whose change right is free takes its settings plain; otherwise the card refuses the
    // plain frame and wants them enciphered with the session key.
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireChangeFileSettings1, {fileNumber, commSettings, rights},
                       response, statusWord, autoContinue) == sceSuccess &&
        desfire::Upper(statusWord) == desfire::kSwOk) {
      return sceSuccess;
    }
    const std::string cryptogram = DESFireEncipher({{commSettings + rights, "[DATA][CRC]000000"}});
    return DESFireSendExpectOk(cmd::DesfireChangeFileSettings2, {fileNumber, cryptogram}, op);
  });
}

sceReturnCode Encoder::DESFireGetFileCharacteristics(std::int32_t FileNo, std::int32_t& FileType,
                                                     std::int32_t& CommunicationSettings) {
  const std::string op = "DESFireGetFileCharacteristics";
  std::string settings;
  if (DESFireGetFileSettings(FileNo, settings) != sceSuccess) {
    return desfire::Record(LastError(), desfire::fail::OperationFailed, op);
  }
  settings = desfire::RemoveBlanks(settings);
  const auto type = desfire::ByteAt(settings, 0);
  const auto comm = desfire::ByteAt(settings, 1);
  if (!type || !comm) return desfire::Record(LastError(), desfire::fail::OperationFailed, op);
  FileType = *type;
  CommunicationSettings = *comm;
  return sceSuccess;
}

}  // namespace lumivex
