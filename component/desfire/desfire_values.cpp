// DESFire value files and the closing of a transaction: reading a value, debit, credit and
// limited credit (plain, through the framed routines), commit and abort.
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/encoder.h"

namespace lumivex {

namespace {

constexpr std::int32_t kMaxValueFileNumber = 7;
const std::vector<std::int32_t> kValueFiles{dftValue};

}  // namespace

sceReturnCode Encoder::DESFireGetValue(std::int32_t FileNo, std::int32_t& ValueData) {
  const std::string op = "DESFireGetValue";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNo < 0 || FileNo > kMaxValueFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    std::string answer;
    if (DESFireFramedReceive(cmd::DesfireGetValue, {desfire::Hex2(FileNo)}, kValueFiles, FileNo, op,
                             answer) != sceSuccess) {
      return sceError;
    }
    const auto value = desfire::ReadLe32(desfire::RemoveBlanks(answer));
    if (!value) return Record(LastError(), desfire::fail::OperationFailed, op);
    ValueData = *value;
    return sceSuccess;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireDebit(std::int32_t FileNo, std::int32_t Amount) {
  const std::string op = "DESFireDebit";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNo < 0 || FileNo > kMaxValueFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    if (Amount < 0) return Record(LastError(), desfire::fail::InvalidAmount, op);
    if (DESFireFramedSend(cmd::DesfireDebit, desfire::Hex2(FileNo), desfire::Le32(Amount),
                          kValueFiles, FileNo, op) == sceSuccess) {
      return sceSuccess;
    }
    // The card's boundary error: the value would leave the file's limits.
    if (LastError().Number() == err::kOperationFailed && lastStatusWord_ == desfire::kSwBoundary) {
      return Record(LastError(), desfire::fail::ValueExceedsLimits, op);
    }
    return sceError;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCredit(std::int32_t FileNo, std::int32_t Amount) {
  const std::string op = "DESFireCredit";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNo < 0 || FileNo > kMaxValueFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    if (Amount < 0) return Record(LastError(), desfire::fail::InvalidAmount, op);
    if (DESFireFramedSend(cmd::DesfireCredit, desfire::Hex2(FileNo), desfire::Le32(Amount),
                          kValueFiles, FileNo, op) == sceSuccess) {
      return sceSuccess;
    }
    if (LastError().Number() == err::kOperationFailed && lastStatusWord_ == desfire::kSwBoundary) {
      return Record(LastError(), desfire::fail::ValueExceedsLimits, op);
    }
    return sceError;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireLimitedCredit(std::int32_t FileNo, std::int32_t Amount) {
  const std::string op = "DESFireLimitedCredit";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    if (FileNo < 0 || FileNo > kMaxValueFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, op);
    }
    if (Amount < 0) return Record(LastError(), desfire::fail::InvalidAmount, op);
    if (DESFireFramedSend(cmd::DesfireLimitedCredit, desfire::Hex2(FileNo), desfire::Le32(Amount),
                          kValueFiles, FileNo, op) == sceSuccess) {
      return sceSuccess;
    }
    // Here the boundary error means more than the last debits allow to credit back.
    if (LastError().Number() == err::kOperationFailed && lastStatusWord_ == desfire::kSwBoundary) {
      return Record(LastError(), desfire::fail::CreditExceedsLimit, op);
    }
    return sceError;
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireCommitTransaction() {
  const std::string op = "DESFireCommitTransaction";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    const sceReturnCode sent =
        EncoderCommand(cmd::DesfireCommitTransaction, {}, response, statusWord, autoContinue);
    const std::string status = desfire::Upper(statusWord);
    if (sent == sceSuccess && status == desfire::kSwOk) return sceSuccess;
    const auto& failure =
        status == desfire::kSwNoChanges ? desfire::fail::NoChanges : desfire::fail::OperationFailed;
    return Record(LastError(), failure, op, std::nullopt, statusWord);
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

sceReturnCode Encoder::DESFireAbortTransaction() {
  const std::string op = "DESFireAbortTransaction";
  Trace("--> " + op);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), op, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) return Record(LastError(), desfire::fail::NotAuthenticated, op);
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    const sceReturnCode sent =
        EncoderCommand(cmd::DesfireAbortTransaction, {}, response, statusWord, autoContinue);
    const std::string status = desfire::Upper(statusWord);
    if (sent == sceSuccess && status == desfire::kSwOk) return sceSuccess;
    const auto& failure =
        status == desfire::kSwNoChanges ? desfire::fail::NoChanges : desfire::fail::OperationFailed;
    return Record(LastError(), failure, op, std::nullopt, statusWord);
  });
  if (result == sceSuccess) ClearLastError(op);
  Trace("<-- " + op);
  return result;
}

}  // namespace lumivex
