// Files of the selected DESFire application: listing, the five kinds of file creation, deletion,
// and reading and changing a file's settings.
#include <algorithm>
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
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

}  // namespace

sceReturnCode Encoder::DESFireGetFileIDs(std::string& FileIds) {
  const std::string op = "DESFireGetFileIDs";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
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
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCreateStdDataFile(std::int32_t FileNumber,
                                                std::int32_t CommunicationSettings,
                                                std::int32_t KeyRead, std::int32_t KeyWrite,
                                                std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                                std::int32_t FileSize) {
  const std::string op = "DESFireCreateStdDataFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (const Failure* failure = CheckFileArguments(FileNumber, kMaxFileNumber,
                                                    ValidCreateCommSettings(CommunicationSettings),
                                                    KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, op);
    }
    if (!InRange24(FileSize)) return Record(LastError(), desfire::fail::InvalidFileSize, op);
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireCreateStdDataFile,
                       {desfire::Hex2(FileNumber), desfire::Hex2(CommunicationSettings),
                        desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite),
                        desfire::Le24(FileSize)},
                       response, statusWord, autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCreateBackupDataFile(std::int32_t FileNumber,
                                                   std::int32_t CommunicationSettings,
                                                   std::int32_t KeyRead, std::int32_t KeyWrite,
                                                   std::int32_t KeyReadWrite,
                                                   std::int32_t KeyManage, std::int32_t FileSize) {
  const std::string op = "DESFireCreateBackupDataFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (const Failure* failure = CheckFileArguments(FileNumber, kMaxFileNumberOtherKinds,
                                                    ValidCreateCommSettings(CommunicationSettings),
                                                    KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, op);
    }
    if (!InRange24(FileSize)) return Record(LastError(), desfire::fail::InvalidFileSize, op);
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireCreateBackupDataFile,
                       {desfire::Hex2(FileNumber), desfire::Hex2(CommunicationSettings),
                        desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite),
                        desfire::Le24(FileSize)},
                       response, statusWord, autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCreateValueFile(std::int32_t FileNumber,
                                              std::int32_t CommunicationSettings,
                                              std::int32_t KeyRead, std::int32_t KeyWrite,
                                              std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                              std::int32_t LowerLimit, std::int32_t UpperLimit,
                                              std::int32_t InitialValue,
                                              bool LimitedCreditEnabled) {
  const std::string op = "DESFireCreateValueFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (const Failure* failure = CheckFileArguments(FileNumber, kMaxFileNumberOtherKinds,
                                                    ValidCreateCommSettings(CommunicationSettings),
                                                    KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, op);
    }
    if (LowerLimit > UpperLimit) return Record(LastError(), desfire::fail::InvalidLimits, op);
    if (InitialValue < LowerLimit || InitialValue > UpperLimit) {
      return Record(LastError(), desfire::fail::ValueOutOfBounds, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireCreateValueFile,
                       {desfire::Hex2(FileNumber), desfire::Hex2(CommunicationSettings),
                        desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite),
                        desfire::Le32(LowerLimit), desfire::Le32(UpperLimit),
                        desfire::Le32(InitialValue), LimitedCreditEnabled ? "01" : "00"},
                       response, statusWord, autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCreateLinearRecordFile(
    std::int32_t FileNumber, std::int32_t CommunicationSettings, std::int32_t KeyRead,
    std::int32_t KeyWrite, std::int32_t KeyReadWrite, std::int32_t KeyManage,
    std::int32_t RecordSize, std::int32_t MaxNumOfRecords) {
  const std::string op = "DESFireCreateLinearRecordFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (const Failure* failure = CheckFileArguments(FileNumber, kMaxFileNumberOtherKinds,
                                                    ValidCreateCommSettings(CommunicationSettings),
                                                    KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, op);
    }
    if (!InRange24(RecordSize)) return Record(LastError(), desfire::fail::InvalidRecordSize, op);
    if (!InRange24(MaxNumOfRecords)) {
      return Record(LastError(), desfire::fail::InvalidRecordCount, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireCreateLinearRecordFile,
                       {desfire::Hex2(FileNumber), desfire::Hex2(CommunicationSettings),
                        desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite),
                        desfire::Le24(RecordSize), desfire::Le24(MaxNumOfRecords)},
                       response, statusWord, autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCreateCyclicRecordFile(
    std::int32_t FileNumber, std::int32_t CommunicationSettings, std::int32_t KeyRead,
    std::int32_t KeyWrite, std::int32_t KeyReadWrite, std::int32_t KeyManage,
    std::int32_t RecordSize, std::int32_t MaxNumOfRecords) {
  const std::string op = "DESFireCreateCyclicRecordFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (const Failure* failure = CheckFileArguments(FileNumber, kMaxFileNumberOtherKinds,
                                                    ValidCreateCommSettings(CommunicationSettings),
                                                    KeyRead, KeyWrite, KeyReadWrite, KeyManage)) {
      return Record(LastError(), *failure, op);
    }
    if (!InRange24(RecordSize)) return Record(LastError(), desfire::fail::InvalidRecordSize, op);
    if (!InRange24(MaxNumOfRecords)) {
      return Record(LastError(), desfire::fail::InvalidRecordCount, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireCreateCyclicRecordFile,
                       {desfire::Hex2(FileNumber), desfire::Hex2(CommunicationSettings),
                        desfire::AccessRights(KeyReadWrite, KeyManage, KeyRead, KeyWrite),
                        desfire::Le24(RecordSize), desfire::Le24(MaxNumOfRecords)},
                       response, statusWord, autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireDeleteFile(std::int32_t FileNumber) {
  const std::string op = "DESFireDeleteFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNumber < 0 || FileNumber > kMaxFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireDeleteFile, {desfire::Hex2(FileNumber)}, response, statusWord,
                       autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireGetFileSettings(std::int32_t FileNo, std::string& Information) {
  const std::string op = "DESFireGetFileSettings";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
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
    Information = desfire::AsText(Des().ConvertData(response, 0));
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireChangeFileSettings(std::int32_t FileNo,
                                                 std::int32_t CommunicationSettings,
                                                 std::int32_t KeyRead, std::int32_t KeyWrite,
                                                 std::int32_t KeyReadWrite,
                                                 std::int32_t KeyManage) {
  const std::string op = "DESFireChangeFileSettings";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
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
    autoContinue = true;
    if (EncoderCommand(cmd::DesfireChangeFileSettings2, {fileNumber, cryptogram}, response,
                       statusWord, autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt, statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
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
