// The simulated DESFire card: value files (get, credit, debit, limited credit) and the transaction
// that backup, value and record files share (commit, abort).
#include "sim/desfire/desfire_values.h"

#include <algorithm>

namespace lumivex::sim::desfire {

namespace {

constexpr std::uint8_t kCredit = 0x0C;
constexpr std::uint8_t kDebit = 0xDC;
constexpr std::uint8_t kLimitedCreditEnabled = 0x01;
constexpr std::uint8_t kFreeGetValue = 0x02;
constexpr std::size_t kAmountLength = 4;

std::size_t SecuredAmountLength(Comm comm) {
  switch (comm) {
    case Comm::kMac:
      return kAmountLength + 4;
    case Comm::kEnciphered:
      return 8;  // amount, CRC16, two zero bytes
    default:
      return kAmountLength;
  }
}

}  // namespace

Reply ValueCommands::GetValue(Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.size() != 1) return {kLengthError, {}};
  Status status = kOk;
  const File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};
  if (file->type != FileType::kValue) return {kParameterError, {}};
  Grant grant{kOk, Comm::kPlain};
  if ((file->limitedCreditFlags & kFreeGetValue) == 0) {
    grant = state_.session.Access(*file,
                                  {file->rights.read, file->rights.write, file->rights.readWrite});
    if (grant.status != kOk) return {grant.status, {}};
  }
  // The value as last committed; changes of the open transaction do not show.
  Bytes value;
  AppendS32(value, file->value);
  return {kOk, state_.session.Secure(std::move(value), grant.comm)};
}

Reply ValueCommands::ChangeValue(std::uint8_t command, Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.empty()) return {kLengthError, {}};
  Status status = kOk;
  File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};
  if (file->type != FileType::kValue) return {kParameterError, {}};
  const AccessRights& rights = file->rights;
  Grant grant;
  if (command == kCredit) {
    grant = state_.session.Access(*file, {rights.readWrite});
  } else if (command == kDebit) {
    grant = state_.session.Access(*file, {rights.read, rights.write, rights.readWrite});
  } else {
    grant = state_.session.Access(*file, {rights.write, rights.readWrite});
  }
  if (grant.status != kOk) return {grant.status, {}};
  if (data.size() != 1 + SecuredAmountLength(grant.comm)) {
    // A plain amount sent to a MACed or enciphered file lacks its MAC or cryptogram.
    return {grant.comm == Comm::kPlain ? kLengthError : kIntegrityError, {}};
  }
  Bytes plain;
  if (Status unwrapped = state_.session.Unwrap(data.subspan(1), kAmountLength, grant.comm, plain);
      unwrapped != kOk) {
    return {unwrapped, {}};
  }
  const std::int32_t amount = ReadS32(plain, 0);
  if (amount < 0) return {kParameterError, {}};

  PendingValue pending = file->pendingValue.value_or(PendingValue{file->value, 0, false, false});
  std::int64_t result = pending.value;
  if (command == kCredit) {
    result += amount;
  } else if (command == kDebit) {
    if (pending.limitedCredited) return {kPermissionDenied, {}};
    result -= amount;
    pending.debited = true;
    pending.debits += amount;
  } else {
    // Limited credit: enabled at creation, never with a debit in the same transaction, and at
    // most what the last transaction with debits took (once).
    if ((file->limitedCreditFlags & kLimitedCreditEnabled) == 0 || pending.debited) {
      return {kPermissionDenied, {}};
    }
    const std::int32_t allowed = pending.limitedCredited ? 0 : file->limitedCreditValue;
    if (amount > allowed) return {kBoundaryError, {}};
    result += amount;
    pending.limitedCredited = true;
  }
  if (result < file->lowerLimit || result > file->upperLimit) return {kBoundaryError, {}};
  pending.value = static_cast<std::int32_t>(result);
  file->pendingValue = pending;
  return {kOk, {}};
}

Reply ValueCommands::CommitTransaction(Data data) {
  Application* app = state_.Selected();
  if (app == nullptr) return {kPermissionDenied, {}};
  if (!data.empty()) return {kLengthError, {}};
  bool changed = false;
  for (auto& [number, file] : app->files) {
    if (!file.HasPendingChanges()) continue;
    file.Commit();
    changed = true;
  }
  return {changed ? kOk : kNoChanges, {}};
}

Reply ValueCommands::AbortTransaction(Data data) {
  Application* app = state_.Selected();
  if (app == nullptr) return {kPermissionDenied, {}};
  if (!data.empty()) return {kLengthError, {}};
  const bool changed = std::any_of(app->files.begin(), app->files.end(), [](const auto& entry) {
    return entry.second.HasPendingChanges();
  });
  state_.AbortTransaction();
  return {changed ? kOk : kNoChanges, {}};
}

}  // namespace lumivex::sim::desfire
