// Contents of DESFire data and record files: writing and reading them (hexadecimal or plain
// text, one byte a character), and clearing a record file.
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/encoder.h"
#include "crypto/des.h"

namespace lumivex {

namespace {

// Conversion codes of the cipher's ConvertData: source in the high byte, target in the low byte.
constexpr std::int32_t kHexToCompactHex = 0x001;
constexpr std::int32_t kPlainToCompactHex = 0x601;
constexpr std::int32_t kHexToPlain = 0x006;

constexpr std::int32_t kMaxFileNumber = 15;

const std::vector<std::int32_t> kDataFiles{dftData, dftBackup};
const std::vector<std::int32_t> kRecordFiles{dftLinear, dftCyclic};

constexpr const char* kWriteData = "DESFireWriteData";
constexpr const char* kWriteRecord = "DESFireWriteRecord";
constexpr const char* kReadData = "DESFireReadData";
constexpr const char* kReadRecords = "DESFireReadRecords";

// The checks of every read and write, after the authentication test, in their order.
const desfire::Failure* CheckTransfer(std::int32_t fileNo, std::int32_t offset,
                                      std::int32_t length) {
  if (fileNo < 0 || fileNo > kMaxFileNumber) return &desfire::fail::InvalidFileNumber;
  if (offset < 0 || offset > desfire::kMax24) return &desfire::fail::InvalidOffset;
  if (length < 0 || length > desfire::kMax24) return &desfire::fail::InvalidLength;
  return nullptr;
}

}  // namespace

sceReturnCode Encoder::DESFireWriteData(std::int32_t FileNo, std::int32_t Offset,
                                        std::int32_t Length, const std::string& DataString,
                                        bool IsDataHexaString) {
  const std::string op = kWriteData;
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    if (const auto* failure = CheckTransfer(FileNo, Offset, Length)) {
      return desfire::Record(LastError(), *failure, op);
    }
    const std::string payload = desfire::AsText(
        Des().ConvertData(DataString, IsDataHexaString ? kHexToCompactHex : kPlainToCompactHex));
    // Length 0 stands for the whole of the data.
    const auto length = Length == 0 ? static_cast<std::int32_t>(payload.size() / 2) : Length;
    const std::string header =
        desfire::Hex2(FileNo) + desfire::Le24(Offset) + desfire::Le24(length);
    return DESFireFramedSend(cmd::DesfireWriteData, header, payload, kDataFiles, FileNo, op);
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireWriteRecord(std::int32_t FileNo, std::int32_t Offset,
                                          std::int32_t Length, const std::string& DataString,
                                          bool IsDataHexaString) {
  const std::string op = kWriteRecord;
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    if (const auto* failure = CheckTransfer(FileNo, Offset, Length)) {
      return desfire::Record(LastError(), *failure, op);
    }
    const std::string payload = desfire::AsText(
        Des().ConvertData(DataString, IsDataHexaString ? kHexToCompactHex : kPlainToCompactHex));
    const auto length = Length == 0 ? static_cast<std::int32_t>(payload.size() / 2) : Length;
    const std::string header =
        desfire::Hex2(FileNo) + desfire::Le24(Offset) + desfire::Le24(length);
    return DESFireFramedSend(cmd::DesfireWriteRecord, header, payload, kRecordFiles, FileNo, op);
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireReadData(std::int32_t FileNo, std::int32_t Offset,
                                       std::int32_t Length, std::string& DataString,
                                       bool IsDataHexaString) {
  const std::string op = kReadData;
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    if (const auto* failure = CheckTransfer(FileNo, Offset, Length)) {
      return desfire::Record(LastError(), *failure, op);
    }
    // Length 0 goes to the card as it is: it reads to the end of the file.
    std::string answer;
    if (DESFireFramedReceive(cmd::DesfireReadData,
                             {desfire::Hex2(FileNo), desfire::Le24(Offset), desfire::Le24(Length)},
                             kDataFiles, FileNo, op, answer) != sceSuccess) {
      return sceError;
    }
    DataString =
        IsDataHexaString ? answer : desfire::AsText(Des().ConvertData(answer, kHexToPlain));
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireReadRecords(std::int32_t FileNo, std::int32_t Offset,
                                          std::int32_t Length, std::string& DataString,
                                          bool IsDataHexaString) {
  const std::string op = kReadRecords;
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    if (const auto* failure = CheckTransfer(FileNo, Offset, Length)) {
      return desfire::Record(LastError(), *failure, op);
    }
    // Offset and length count records here; length 0 reads them all.
    std::string answer;
    if (DESFireFramedReceive(cmd::DesfireReadRecords,
                             {desfire::Hex2(FileNo), desfire::Le24(Offset), desfire::Le24(Length)},
                             kRecordFiles, FileNo, op, answer) != sceSuccess) {
      return sceError;
    }
    DataString =
        IsDataHexaString ? answer : desfire::AsText(Des().ConvertData(answer, kHexToPlain));
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireClearRecordFile(std::int32_t FileNo) {
  const std::string op = "DESFireClearRecordFile";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireClearRecordFile, {desfire::Hex2(FileNo)}, response, statusWord,
                       autoContinue) != sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return desfire::Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt,
                             statusWord);
    }
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

}  // namespace lumivex
