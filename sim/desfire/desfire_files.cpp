// The simulated DESFire card: creating, listing, describing, changing and deleting files.
#include "sim/desfire/desfire_files.h"

#include <algorithm>

#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

namespace {

constexpr std::size_t kMaxFiles = 32;
constexpr std::uint8_t kMaxCommByte = 0x03;

std::size_t CreateLength(std::uint8_t command) {
  switch (command) {
    case 0xCD:
    case 0xCB:
      return 7;  // number, communication, rights (2), size (3)
    case 0xCC:
      return 17;  // number, communication, rights (2), lower, upper, value (4 each), flags
    default:
      return 10;  // number, communication, rights (2), record size (3), record count (3)
  }
}

// Fills the kind-specific part of a new file from its create command; false for a bad value.
bool DescribeFile(std::uint8_t command, Data data, File& file) {
  switch (command) {
    case 0xCD:
    case 0xCB:
      file.type = command == 0xCD ? FileType::kStdData : FileType::kBackupData;
      file.size = ReadU24(data, 4);
      return file.size > 0;
    case 0xCC:
      file.type = FileType::kValue;
      file.lowerLimit = ReadS32(data, 4);
      file.upperLimit = ReadS32(data, 8);
      file.value = ReadS32(data, 12);
      file.limitedCreditFlags = data[16];
      return file.lowerLimit <= file.upperLimit && file.value >= file.lowerLimit &&
             file.value <= file.upperLimit && (file.limitedCreditFlags & ~0x03) == 0;
    default:
      file.type = command == 0xC1 ? FileType::kLinearRecord : FileType::kCyclicRecord;
      file.recordSize = ReadU24(data, 4);
      file.maxRecords = ReadU24(data, 7);
      return file.recordSize > 0 &&
             file.maxRecords >= (file.type == FileType::kCyclicRecord ? 2U : 1U);
  }
}

}  // namespace

Status FileCommands::RequireFileManagement() const {
  if ((state_.CurrentSettings() & kFreeCreateDelete) == 0 && !state_.session.AuthenticatedWith(0)) {
    return kAuthenticationError;
  }
  return kOk;
}

Status FileCommands::RequireDirectoryAccess() const {
  if ((state_.CurrentSettings() & kFreeDirectoryAccess) == 0 &&
      !state_.session.AuthenticatedWith(0)) {
    return kAuthenticationError;
  }
  return kOk;
}

Reply FileCommands::CreateFile(std::uint8_t command, Data data) {
  Application* app = state_.Selected();
  if (app == nullptr) return {kPermissionDenied, {}};
  if (data.size() != CreateLength(command)) return {kLengthError, {}};
  if (Status status = RequireFileManagement(); status != kOk) return {status, {}};
  const std::uint8_t number = data[0];
  File file;
  file.commByte = data[1];
  file.rights = AccessRights::FromWire(data[2], data[3]);
  if (number > kMaxFileNumber || file.commByte > kMaxCommByte ||
      !DescribeFile(command, data, file)) {
    return {kParameterError, {}};
  }
  if (app->files.contains(number)) return {kDuplicateError, {}};
  if (app->files.size() >= kMaxFiles) return {kCountError, {}};
  const std::uint64_t cost = FileCost(file);
  if (cost > state_.contents.FreeMemory()) return {kOutOfMemory, {}};
  if (file.type == FileType::kStdData || file.type == FileType::kBackupData) {
    file.data.assign(file.size, 0);
  }
  app->files.emplace(number, std::move(file));
  state_.contents.usedMemory += cost;
  return {kOk, {}};
}

Reply FileCommands::DeleteFile(Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.size() != 1) return {kLengthError, {}};
  if (Status status = RequireFileManagement(); status != kOk) return {status, {}};
  // The file's memory stays taken until the card is formatted.
  if (state_.Selected()->files.erase(data[0]) == 0) return {kFileNotFound, {}};
  return {kOk, {}};
}

Reply FileCommands::GetFileIds(Data data) {
  const Application* app = state_.Selected();
  if (app == nullptr) return {kPermissionDenied, {}};
  if (!data.empty()) return {kLengthError, {}};
  if (Status status = RequireDirectoryAccess(); status != kOk) return {status, {}};
  Bytes ids;
  for (const auto& [number, file] : app->files) ids.push_back(number);
  return {kOk, std::move(ids)};
}

Reply FileCommands::GetFileSettings(Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.size() != 1) return {kLengthError, {}};
  if (Status status = RequireDirectoryAccess(); status != kOk) return {status, {}};
  Status status = kOk;
  const File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};

  Bytes out{static_cast<std::uint8_t>(file->type), file->commByte};
  const auto rights = file->rights.ToWire();
  out.insert(out.end(), rights.begin(), rights.end());
  switch (file->type) {
    case FileType::kStdData:
    case FileType::kBackupData:
      AppendU24(out, file->size);
      break;
    case FileType::kValue:
      AppendS32(out, file->lowerLimit);
      AppendS32(out, file->upperLimit);
      AppendS32(out, file->limitedCreditValue);
      out.push_back(file->limitedCreditFlags);
      break;
    case FileType::kLinearRecord:
    case FileType::kCyclicRecord:
      AppendU24(out, file->recordSize);
      AppendU24(out, file->maxRecords);
      AppendU24(out, static_cast<std::uint32_t>(file->records.size()));
      break;
  }
  return {kOk, std::move(out)};
}

Reply FileCommands::ChangeFileSettings(Data data) {
  if (data.empty()) return {kLengthError, {}};
  Status status = kOk;
  File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};

  const std::uint8_t change = file->rights.change;
  if (change == kRightNever) return {kPermissionDenied, {}};
  std::array<std::uint8_t, 3> settings{};
  if (change == kRightFree) {
    // Free change right: number, communication settings and rights in plain.
    if (data.size() != 4) return {kLengthError, {}};
    std::copy_n(data.begin() + 1, 3, settings.begin());
  } else {
    // Key right: the settings come enciphered with the session key (settings, CRC, zeros).
    if (!state_.session.AuthenticatedWith(change)) return {kAuthenticationError, {}};
    if (data.size() != 9) return {kLengthError, {}};
    Bytes plain = state_.session.Cipher().FromReader(data.subspan(1));
    const std::uint16_t crc = Crc16(std::span<const std::uint8_t>(plain).first(3));
    const bool valid = plain[3] == (crc & 0xFF) && plain[4] == (crc >> 8) && plain[5] == 0 &&
                       plain[6] == 0 && plain[7] == 0;
    std::copy_n(plain.begin(), 3, settings.begin());
    crypto::SecureWipe(plain);
    if (!valid) return {kIntegrityError, {}};
  }
  if (settings[0] > kMaxCommByte) return {kParameterError, {}};
  file->commByte = settings[0];
  file->rights = AccessRights::FromWire(settings[1], settings[2]);
  return {kOk, {}};
}

}  // namespace lumivex::sim::desfire
