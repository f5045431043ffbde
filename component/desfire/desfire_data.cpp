// Contents of DESFire data and record files: writing and reading them (hexadecimal or plain
// text, one byte a character), and clearing a record file.
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/desfire/desfire_operation.h"
#include "component/encoder.h"
#include "crypto/des.h"

namespace lumivex {

namespace {

// Conversion modes of the cipher's ConvertData.
constexpr std::int32_t kHexToCompactHex =
    crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kCompactHex);
constexpr std::int32_t kPlainToCompactHex =
    crypto::ConvertMode(crypto::DataForm::kPlainText, crypto::DataForm::kCompactHex);
constexpr std::int32_t kHexToPlain =
    crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kPlainText);

constexpr std::int32_t kMaxFileNumber = 15;

const std::vector<std::int32_t> kDataFiles{dftData, dftBackup};
const std::vector<std::int32_t> kRecordFiles{dftLinear, dftCyclic};

// The checks of every read and write, after the authentication test, in their order.
const desfire::Failure* CheckTransfer(std::int32_t fileNo, std::int32_t offset,
                                      std::int32_t length) {
  if (fileNo < 0 || fileNo > kMaxFileNumber) return &desfire::fail::InvalidFileNumber;
  if (offset < 0 || offset > desfire::kMax24) return &desfire::fail::InvalidOffset;
  if (length < 0 || length > desfire::kMax24) return &desfire::fail::InvalidLength;
  return nullptr;
}

}  // namespace

// Data and record files are written alike; only the command and the kinds of file it takes differ.
sceReturnCode Encoder::DESFireWrite(std::int32_t Command, const std::string& Operation,
                                    const std::vector<std::int32_t>& FileKinds, std::int32_t FileNo,
                                    std::int32_t Offset, std::int32_t Length,
                                    const std::string& DataString, bool IsDataHexaString) {
  return DESFireOperation(Operation, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, Operation);
    }
    if (const auto* failure = CheckTransfer(FileNo, Offset, Length)) {
      return desfire::Record(LastError(), *failure, Operation);
    }
    const std::string payload = desfire::AsText(
        Des().ConvertData(DataString, IsDataHexaString ? kHexToCompactHex : kPlainToCompactHex));
    // Length 0 stands for the whole of the data.
    const auto length = Length == 0 ? static_cast<std::int32_t>(payload.size() / 2) : Length;
    const std::string header =
        desfire::Hex2(FileNo) + desfire::Le24(Offset) + desfire::Le24(length);
    return DESFireFramedSend(Command, header, payload, FileKinds, FileNo, Operation);
  });
}

// Data and record files are read alike. Length 0 goes to the card as it is: it reads to the end
// of a data file, or all the records; in a record file offset and length count records.
sceReturnCode Encoder::DESFireRead(std::int32_t Command, const std::string& Operation,
                                   const std::vector<std::int32_t>& FileKinds, std::int32_t FileNo,
                                   std::int32_t Offset, std::int32_t Length,
                                   std::string& DataString, bool IsDataHexaString) {
  return DESFireOperation(Operation, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, Operation);
    }
    if (const auto* failure = CheckTransfer(FileNo, Offset, Length)) {
      return desfire::Record(LastError(), *failure, Operation);
    }
    std::string answer;
    if (DESFireFramedReceive(Command,
                             {desfire::Hex2(FileNo), desfire::Le24(Offset), desfire::Le24(Length)},
                             FileKinds, FileNo, Operation, answer) != sceSuccess) {
      return sceError;
    }
    DataString =
        IsDataHexaString ? answer : desfire::AsText(Des().ConvertData(answer, kHexToPlain));
    return sceSuccess;
  });
}

sceReturnCode Encoder::DESFireWriteData(std::int32_t FileNo, std::int32_t Offset,
                                        std::int32_t Length, const std::string& DataString,
                                        bool IsDataHexaString) {
  return DESFireWrite(cmd::DesfireWriteData, "DESFireWriteData", kDataFiles, FileNo, Offset, Length,
                      DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireWriteRecord(std::int32_t FileNo, std::int32_t Offset,
                                          std::int32_t Length, const std::string& DataString,
                                          bool IsDataHexaString) {
  return DESFireWrite(cmd::DesfireWriteRecord, "DESFireWriteRecord", kRecordFiles, FileNo, Offset,
                      Length, DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireReadData(std::int32_t FileNo, std::int32_t Offset,
                                       std::int32_t Length, std::string& DataString,
                                       bool IsDataHexaString) {
  return DESFireRead(cmd::DesfireReadData, "DESFireReadData", kDataFiles, FileNo, Offset, Length,
                     DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireReadRecords(std::int32_t FileNo, std::int32_t Offset,
                                          std::int32_t Length, std::string& DataString,
                                          bool IsDataHexaString) {
  return DESFireRead(cmd::DesfireReadRecords, "DESFireReadRecords", kRecordFiles, FileNo, Offset,
                     Length, DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireClearRecordFile(std::int32_t FileNo) {
  const std::string op = "DESFireClearRecordFile";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, op);
    }
    return DESFireSendExpectOk(cmd::DesfireClearRecordFile, {desfire::Hex2(FileNo)}, op);
  });
}

}  // namespace lumivex
