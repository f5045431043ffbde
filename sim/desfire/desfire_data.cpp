// The simulated DESFire card: reading and writing data and record files over chained frames.
#include "sim/desfire/desfire_data.h"

#include <algorithm>

namespace lumivex::sim::desfire {

namespace {

constexpr std::uint8_t kReadData = 0xBD;
constexpr std::uint8_t kWriteData = 0x3D;
constexpr std::size_t kHeader = 7;           // file number, offset (3), length (3)
constexpr std::size_t kFirstFrameFull = 52;  // command data of a first frame that has more to come
constexpr std::size_t kMacLength = 4;

bool IsDataFile(const File& file) {
  return file.type == FileType::kStdData || file.type == FileType::kBackupData;
}

bool IsRecordFile(const File& file) {
  return file.type == FileType::kLinearRecord || file.type == FileType::kCyclicRecord;
}

std::size_t SecuredLength(std::size_t length, Comm comm) {
  switch (comm) {
    case Comm::kMac:
      return length + kMacLength;
    case Comm::kEnciphered:
      return (length + 2 + 7) / 8 * 8;  // data and CRC16, zero-padded to whole blocks
    default:
      return length;
  }
}

}  // namespace

Reply DataCommands::ReadData(std::uint8_t command, Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.size() != kHeader) return {kLengthError, {}};
  Status status = kOk;
  const File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};
  if (command == kReadData ? !IsDataFile(*file) : !IsRecordFile(*file)) {
    return {kParameterError, {}};
  }
  const Grant grant = state_.session.Access(*file, {file->rights.read, file->rights.readWrite});
  if (grant.status != kOk) return {grant.status, {}};

  const std::uint32_t offset = ReadU24(data, 1);
  const std::uint32_t length = ReadU24(data, 4);
  Bytes out;
  if (command == kReadData) {
    // Length 0 reads to the end of the file. A backup file shows its committed contents.
    if (offset >= file->size) return {kBoundaryError, {}};
    const std::uint32_t count = length == 0 ? file->size - offset : length;
    if (std::uint64_t{offset} + count > file->size) return {kBoundaryError, {}};
    out.assign(file->data.begin() + offset, file->data.begin() + offset + count);
  } else {
    // Offset counts back from the newest record, length 0 means down to the oldest; the records
    // come oldest first.
    const std::size_t stored = file->records.size();
    if (offset >= stored) return {kBoundaryError, {}};
    const std::size_t count = length == 0 ? stored - offset : length;
    if (offset + count > stored) return {kBoundaryError, {}};
    for (std::size_t i = stored - offset - count; i < stored - offset; ++i) {
      out.insert(out.end(), file->records[i].begin(), file->records[i].end());
    }
  }
  return state_.exchanges.Chain(state_.session.Secure(std::move(out), grant.comm));
}

Reply DataCommands::StartWrite(std::uint8_t command, Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.size() < kHeader) return {kLengthError, {}};
  Status status = kOk;
  File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};
  if (command == kWriteData ? !IsDataFile(*file) : !IsRecordFile(*file)) {
    return {kParameterError, {}};
  }
  const Grant grant = state_.session.Access(*file, {file->rights.write, file->rights.readWrite});
  if (grant.status != kOk) return {grant.status, {}};

  IncomingWrite write;
  write.command = command;
  write.fileNumber = data[0];
  write.offset = ReadU24(data, 1);
  write.length = ReadU24(data, 4);
  write.comm = grant.comm;
  if (write.length == 0) return {kLengthError, {}};
  const std::uint64_t end = std::uint64_t{write.offset} + write.length;
  if (command == kWriteData) {
    if (end > file->size) return {kBoundaryError, {}};
  } else {
    if (end > file->recordSize) return {kBoundaryError, {}};
    if (file->pendingClear) return {kPermissionDenied, {}};  // cleared in this transaction
    // A linear file takes no record beyond its maximum; a cyclic one drops its oldest.
    if (!file->pendingRecord && file->type == FileType::kLinearRecord &&
        file->records.size() >= file->maxRecords) {
      return {kBoundaryError, {}};
    }
  }
  write.expected = SecuredLength(write.length, write.comm);
  write.received.assign(data.begin() + kHeader, data.end());
  return CollectWrite(std::move(write), data.size() >= kFirstFrameFull);
}

Reply DataCommands::ContinueWrite(Data data) {
  IncomingWrite write = std::move(*state_.exchanges.write);
  state_.exchanges.write.reset();
  if (data.size() > kMaxFrameData) return {kLengthError, {}};
  write.received.insert(write.received.end(), data.begin(), data.end());
  return CollectWrite(std::move(write), data.size() >= kMaxFrameData);
}

Reply DataCommands::CollectWrite(IncomingWrite write, bool frameFull) {
  if (write.received.size() > write.expected) return {kLengthError, {}};
  if (write.received.size() == write.expected) return FinishWrite(write);
  if (frameFull) {
    state_.exchanges.write = std::move(write);
    return {kAdditionalFrame, {}};
  }
  // The reader ended its data early: for a MACed or enciphered file the MAC or the cryptogram is
  // missing (a plain write to such a file); for a plain file the length does not add up.
  return {write.comm == Comm::kPlain ? kLengthError : kIntegrityError, {}};
}

Reply DataCommands::FinishWrite(IncomingWrite& write) {
  Bytes plain;
  const Status status = state_.session.Unwrap(write.received, write.length, write.comm, plain);
  if (status != kOk) return {status, {}};
  const std::uint8_t number[1] = {write.fileNumber};
  Status found = kOk;
  File* file = state_.FindFile(number, found);
  if (file == nullptr) return {found, {}};

  const auto offset = static_cast<std::ptrdiff_t>(write.offset);
  if (write.command == kWriteData) {
    if (file->type == FileType::kStdData) {
      std::copy(plain.begin(), plain.end(), file->data.begin() + offset);
    } else {
      if (!file->pendingData) file->pendingData = file->data;
      std::copy(plain.begin(), plain.end(), file->pendingData->begin() + offset);
    }
  } else {
    // Every write of one transaction goes into the same new record.
    if (!file->pendingRecord) file->pendingRecord = Bytes(file->recordSize, 0);
    std::copy(plain.begin(), plain.end(), file->pendingRecord->begin() + offset);
  }
  return {kOk, {}};
}

Reply DataCommands::ClearRecordFile(Data data) {
  if (state_.Selected() == nullptr) return {kPermissionDenied, {}};
  if (data.size() != 1) return {kLengthError, {}};
  Status status = kOk;
  File* file = state_.FindFile(data, status);
  if (file == nullptr) return {status, {}};
  if (!IsRecordFile(*file)) return {kParameterError, {}};
  const Grant grant = state_.session.Access(*file, {file->rights.readWrite});
  if (grant.status != kOk) return {grant.status, {}};
  if (file->pendingRecord) return {kPermissionDenied, {}};  // written in this transaction
  file->pendingClear = true;
  return {kOk, {}};
}

}  // namespace lumivex::sim::desfire
