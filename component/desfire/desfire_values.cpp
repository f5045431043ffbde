// DESFire value files and the closing of a transaction: reading a value, debit, credit and
// limited credit (plain, through the framed routines), commit and abort.
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/desfire/desfire_operation.h"
#include "component/encoder.h"

namespace lumivex {

namespace {

constexpr std::int32_t kMaxValueFileNumber = 7;
const std::vector<std::int32_t> kValueFiles{dftValue};

}  // namespace

sceReturnCode Encoder::DESFireGetValue(std::int32_t FileNo, std::int32_t& ValueData) {
  const std::string op = "DESFireGetValue";
  return DESFireOperation(op, [&]() -> sceReturnCode {
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
}

// Debit, credit and limited credit differ only in their command and in what the card's boundary
// error means for them.
sceReturnCode Encoder::DESFireChangeValue(std::int32_t Command, const std::string& Operation,
                                          std::int32_t FileNo, std::int32_t Amount,
                                          const desfire::Failure& AtBoundary) {
  return DESFireOperation(Operation, [&]() -> sceReturnCode {
    using desfire::Record;
    if (!DESFireIsAuthenticated()) {
      return Record(LastError(), desfire::fail::NotAuthenticated, Operation);
    }
    if (FileNo < 0 || FileNo > kMaxValueFileNumber) {
      return Record(LastError(), desfire::fail::InvalidFileNumber, Operation);
    }
    if (Amount < 0) return Record(LastError(), desfire::fail::InvalidAmount, Operation);
    if (DESFireFramedSend(Command, desfire::Hex2(FileNo), desfire::Le32(Amount), kValueFiles,
                          FileNo, Operation) == sceSuccess) {
      return sceSuccess;
    }
    if (LastError().Number() == err::kOperationFailed && lastStatusWord_ == desfire::kSwBoundary) {
      return Record(LastError(), AtBoundary, Operation);
    }
    return sceError;
  });
}

sceReturnCode Encoder::DESFireDebit(std::int32_t FileNo, std::int32_t Amount) {
  // The value would leave the file's limits.
  return DESFireChangeValue(cmd::DesfireDebit, "DESFireDebit", FileNo, Amount,
                            desfire::fail::ValueExceedsLimits);
}

sceReturnCode Encoder::DESFireCredit(std::int32_t FileNo, std::int32_t Amount) {
  return DESFireChangeValue(cmd::DesfireCredit, "DESFireCredit", FileNo, Amount,
                            desfire::fail::ValueExceedsLimits);
}

sceReturnCode Encoder::DESFireLimitedCredit(std::int32_t FileNo, std::int32_t Amount) {
  // More than the last debits allow to credit back.
  return DESFireChangeValue(cmd::DesfireLimitedCredit, "DESFireLimitedCredit", FileNo, Amount,
                            desfire::fail::CreditExceedsLimit);
}

// Commit and abort: 910C means the backup files hold no change to close.
sceReturnCode Encoder::DESFireEndTransaction(std::int32_t Command, const std::string& Operation) {
  return DESFireOperation(Operation, [&]() -> sceReturnCode {
    if (!DESFireIsAuthenticated()) {
      return desfire::Record(LastError(), desfire::fail::NotAuthenticated, Operation);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    const sceReturnCode sent = EncoderCommand(Command, {}, response, statusWord, autoContinue);
    const std::string status = desfire::Upper(statusWord);
    if (sent == sceSuccess && status == desfire::kSwOk) return sceSuccess;
    const auto& failure =
        status == desfire::kSwNoChanges ? desfire::fail::NoChanges : desfire::fail::OperationFailed;
    return desfire::Record(LastError(), failure, Operation, std::nullopt, statusWord);
  });
}

sceReturnCode Encoder::DESFireCommitTransaction() {
  return DESFireEndTransaction(cmd::DesfireCommitTransaction, "DESFireCommitTransaction");
}

sceReturnCode Encoder::DESFireAbortTransaction() {
  return DESFireEndTransaction(cmd::DesfireAbortTransaction, "DESFireAbortTransaction");
}

}  // namespace lumivex
