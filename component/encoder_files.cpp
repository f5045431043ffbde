// The Encoder's DESFire members of files, their contents, values and transactions.
#include "component/encoder.h"
#include "component/encoder_parts.h"

namespace lumivex {

sceReturnCode Encoder::DESFireGetFileIDs(std::string& FileIds) {
  return parts_->files.GetFileIDs(FileIds);
}

sceReturnCode Encoder::DESFireCreateStdDataFile(std::int32_t FileNumber,
                                                std::int32_t CommunicationSettings,
                                                std::int32_t KeyRead, std::int32_t KeyWrite,
                                                std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                                std::int32_t FileSize) {
  return parts_->files.CreateDataFile(desfire::kStdDataFile, FileNumber, CommunicationSettings,
                                      {KeyRead, KeyWrite, KeyReadWrite, KeyManage}, FileSize);
}

sceReturnCode Encoder::DESFireCreateBackupDataFile(std::int32_t FileNumber,
                                                   std::int32_t CommunicationSettings,
                                                   std::int32_t KeyRead, std::int32_t KeyWrite,
                                                   std::int32_t KeyReadWrite,
                                                   std::int32_t KeyManage, std::int32_t FileSize) {
  return parts_->files.CreateDataFile(desfire::kBackupDataFile, FileNumber, CommunicationSettings,
                                      {KeyRead, KeyWrite, KeyReadWrite, KeyManage}, FileSize);
}

sceReturnCode Encoder::DESFireCreateValueFile(std::int32_t FileNumber,
                                              std::int32_t CommunicationSettings,
                                              std::int32_t KeyRead, std::int32_t KeyWrite,
                                              std::int32_t KeyReadWrite, std::int32_t KeyManage,
                                              std::int32_t LowerLimit, std::int32_t UpperLimit,
                                              std::int32_t InitialValue,
                                              bool LimitedCreditEnabled) {
  return parts_->files.CreateValueFile(FileNumber, CommunicationSettings,
                                       {KeyRead, KeyWrite, KeyReadWrite, KeyManage}, LowerLimit,
                                       UpperLimit, InitialValue, LimitedCreditEnabled);
}

sceReturnCode Encoder::DESFireCreateLinearRecordFile(
    std::int32_t FileNumber, std::int32_t CommunicationSettings, std::int32_t KeyRead,
    std::int32_t KeyWrite, std::int32_t KeyReadWrite, std::int32_t KeyManage,
    std::int32_t RecordSize, std::int32_t MaxNumOfRecords) {
  return parts_->files.CreateRecordFile(
      desfire::kLinearRecordFile, FileNumber, CommunicationSettings,
      {KeyRead, KeyWrite, KeyReadWrite, KeyManage}, RecordSize, MaxNumOfRecords);
}

sceReturnCode Encoder::DESFireCreateCyclicRecordFile(
    std::int32_t FileNumber, std::int32_t CommunicationSettings, std::int32_t KeyRead,
    std::int32_t KeyWrite, std::int32_t KeyReadWrite, std::int32_t KeyManage,
    std::int32_t RecordSize, std::int32_t MaxNumOfRecords) {
  return parts_->files.CreateRecordFile(
      desfire::kCyclicRecordFile, FileNumber, CommunicationSettings,
      {KeyRead, KeyWrite, KeyReadWrite, KeyManage}, RecordSize, MaxNumOfRecords);
}

sceReturnCode Encoder::DESFireDeleteFile(std::int32_t FileNumber) {
  return parts_->files.DeleteFile(FileNumber);
}

sceReturnCode Encoder::DESFireGetFileSettings(std::int32_t FileNo, std::string& Information) {
  return parts_->files.GetFileSettings(FileNo, Information);
}

sceReturnCode Encoder::DESFireChangeFileSettings(std::int32_t FileNo,
                                                 std::int32_t CommunicationSettings,
                                                 std::int32_t KeyRead, std::int32_t KeyWrite,
                                                 std::int32_t KeyReadWrite,
                                                 std::int32_t KeyManage) {
  return parts_->files.ChangeFileSettings(FileNo, CommunicationSettings,
                                          {KeyRead, KeyWrite, KeyReadWrite, KeyManage});
}

sceReturnCode Encoder::DESFireWriteData(std::int32_t FileNo, std::int32_t Offset,
                                        std::int32_t Length, const std::string& DataString,
                                        bool IsDataHexaString) {
  return parts_->transfers.WriteData(FileNo, Offset, Length, DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireReadData(std::int32_t FileNo, std::int32_t Offset,
                                       std::int32_t Length, std::string& DataString,
                                       bool IsDataHexaString) {
  return parts_->transfers.ReadData(FileNo, Offset, Length, DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireWriteRecord(std::int32_t FileNo, std::int32_t Offset,
                                          std::int32_t Length, const std::string& DataString,
                                          bool IsDataHexaString) {
  return parts_->transfers.WriteRecord(FileNo, Offset, Length, DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireReadRecords(std::int32_t FileNo, std::int32_t Offset,
                                          std::int32_t Length, std::string& DataString,
                                          bool IsDataHexaString) {
  return parts_->transfers.ReadRecords(FileNo, Offset, Length, DataString, IsDataHexaString);
}

sceReturnCode Encoder::DESFireClearRecordFile(std::int32_t FileNo) {
  return parts_->transfers.ClearRecordFile(FileNo);
}

sceReturnCode Encoder::DESFireGetValue(std::int32_t FileNo, std::int32_t& ValueData) {
  return parts_->values.GetValue(FileNo, ValueData);
}

sceReturnCode Encoder::DESFireDebit(std::int32_t FileNo, std::int32_t Amount) {
  return parts_->values.Debit(FileNo, Amount);
}

sceReturnCode Encoder::DESFireCredit(std::int32_t FileNo, std::int32_t Amount) {
  return parts_->values.Credit(FileNo, Amount);
}

sceReturnCode Encoder::DESFireLimitedCredit(std::int32_t FileNo, std::int32_t Amount) {
  return parts_->values.LimitedCredit(FileNo, Amount);
}

sceReturnCode Encoder::DESFireCommitTransaction() {
  return parts_->values.CommitTransaction();
}

sceReturnCode Encoder::DESFireAbortTransaction() {
  return parts_->values.AbortTransaction();
}

}  // namespace lumivex
