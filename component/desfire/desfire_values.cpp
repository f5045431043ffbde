#include "component/desfire/desfire_values.h"

#include <array>

#include "component/desfire/desfire_card.h"
#include "component/desfire/desfire_transfer.h"

namespace lumivex::desfire {

namespace {

constexpr std::int32_t kMaxValueFileNumber = 7;
constexpr std::array<std::uint8_t, 1> kValueFiles{dftValue};

bool ValidValueFile(std::int32_t fileNo) {
  return fileNo >= 0 && fileNo <= kMaxValueFileNumber;
}

}  // namespace

sceReturnCode Values::GetValue(std::int32_t FileNo, std::int32_t& ValueData) {
  static constexpr const char* kName = "DESFireGetValue";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    if (!ValidValueFile(FileNo)) return card_.Refuse(failure::kInvalidFileNumber, kName);
    const Exchanged read =
        transfers_.FramedReceive(Command::kDesfireGetValue, {FileNo}, kValueFiles, FileNo, kName);
    if (read.outcome.result != sceSuccess) return read.outcome;
    // Four bytes, least significant first.
    if (read.data.size() < 4) return card_.Refuse(failure::kOperationFailed, kName);
    std::uint32_t value = 0;
    for (unsigned i = 0; i < 4; ++i) value |= static_cast<std::uint32_t>(read.data[i]) << (8 * i);
    ValueData = static_cast<std::int32_t>(value);
    return Succeeded();
  });
}

sceReturnCode Values::ChangeValue(Command command, const char* name, std::int32_t fileNo,
                                  std::int32_t amount, const Failure& atBoundary) {
  return card_.Run(name, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, name);
    if (!ValidValueFile(fileNo)) return card_.Refuse(failure::kInvalidFileNumber, name);
    if (amount < 0) return card_.Refuse(failure::kInvalidAmount, name);
    const std::array<std::uint8_t, 1> header{static_cast<std::uint8_t>(fileNo)};
    const auto value = static_cast<std::uint32_t>(amount);
    const std::array<std::uint8_t, 4> payload{
        static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8U),
        static_cast<std::uint8_t>(value >> 16U), static_cast<std::uint8_t>(value >> 24U)};
    const Exchanged sent =
        transfers_.FramedSend(command, header, payload, kValueFiles, fileNo, name);
    if (sent.outcome.result != sceSuccess &&
        card_.reporting().record.Number() == err::kOperationFailed &&
        sent.statusWord == sw::kBoundary) {
      return card_.Refuse(atBoundary, name);
    }
    return sent.outcome;
  });
}

sceReturnCode Values::Debit(std::int32_t FileNo, std::int32_t Amount) {
  // The value would leave the file's limits.
  return ChangeValue(Command::kDesfireDebit, "DESFireDebit", FileNo, Amount,
                     failure::kValueExceedsLimits);
}

sceReturnCode Values::Credit(std::int32_t FileNo, std::int32_t Amount) {
  return ChangeValue(Command::kDesfireCredit, "DESFireCredit", FileNo, Amount,
                     failure::kValueExceedsLimits);
}

sceReturnCode Values::LimitedCredit(std::int32_t FileNo, std::int32_t Amount) {
  // More than the last debits allow to credit back.
  return ChangeValue(Command::kDesfireLimitedCredit, "DESFireLimitedCredit", FileNo, Amount,
                     failure::kCreditExceedsLimit);
}

sceReturnCode Values::EndTransaction(Command command, const char* name) {
  return card_.Run(name, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, name);
    const Reply reply = card_.Send(command);
    if (Card::Answered(reply)) return Succeeded();
    const Failure& failed =
        reply.statusWord == sw::kNoChanges ? failure::kNoChanges : failure::kOperationFailed;
    card_.reporting().record.Fail(failed, name, std::nullopt, reply.statusWord.Hex());
    return Refused();
  });
}

sceReturnCode Values::CommitTransaction() {
  return EndTransaction(Command::kDesfireCommitTransaction, "DESFireCommitTransaction");
}

sceReturnCode Values::AbortTransaction() {
  return EndTransaction(Command::kDesfireAbortTransaction, "DESFireAbortTransaction");
}

}  // namespace lumivex::desfire
