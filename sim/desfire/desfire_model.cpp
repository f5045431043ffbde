#include "sim/desfire/desfire_model.h"

#include <algorithm>
#include <limits>

#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

namespace {

constexpr std::uint64_t kAllocationUnit = 32;

std::uint64_t RoundUp(std::uint64_t bytes) {
  return (bytes + kAllocationUnit - 1) / kAllocationUnit * kAllocationUnit;
}

}  // namespace

StoredKey::~StoredKey() {
  crypto::SecureWipe(value.data(), value.size());
}

AccessRights AccessRights::FromWire(std::uint8_t first, std::uint8_t second) {
  AccessRights rights;
  rights.readWrite = static_cast<std::uint8_t>(first >> 4);
  rights.change = static_cast<std::uint8_t>(first & 0x0F);
  rights.read = static_cast<std::uint8_t>(second >> 4);
  rights.write = static_cast<std::uint8_t>(second & 0x0F);
  return rights;
}

std::array<std::uint8_t, 2> AccessRights::ToWire() const {
  return {static_cast<std::uint8_t>((readWrite << 4) | change),
          static_cast<std::uint8_t>((read << 4) | write)};
}

Comm File::comm() const {
  switch (commByte & 0x03) {
    case 0x01:
      return Comm::kMac;
    case 0x03:
      return Comm::kEnciphered;
    default:
      return Comm::kPlain;
  }
}

void File::DropPendingChanges() {
  pendingData.reset();
  pendingValue.reset();
  pendingRecord.reset();
  pendingClear = false;
}

void File::Commit() {
  if (pendingData) data = std::move(*pendingData);
  if (pendingValue) {
    value = pendingValue->value;
    if (pendingValue->limitedCredited) {
      limitedCreditValue = 0;
    } else if (pendingValue->debited) {
      // The next limited credit may give back at most what this transaction took.
      limitedCreditValue = static_cast<std::int32_t>(
          std::min<std::int64_t>(pendingValue->debits, std::numeric_limits<std::int32_t>::max()));
    }
  }
  if (pendingClear) records.clear();
  if (pendingRecord) {
    records.push_back(std::move(*pendingRecord));
    while (records.size() > RecordCapacity()) records.pop_front();
  }
  DropPendingChanges();
}

std::uint32_t File::RecordCapacity() const {
  return type == FileType::kCyclicRecord ? maxRecords - 1 : maxRecords;
}

std::uint64_t ApplicationCost(std::size_t keyCount) {
  return RoundUp(32 + 16 * keyCount);
}

std::uint64_t FileCost(const File& file) {
  switch (file.type) {
    case FileType::kStdData:
      return RoundUp(file.size);
    case FileType::kBackupData:
      return 2 *
             RoundUp(file.size);  // the image under transaction is kept beside the committed one
    case FileType::kValue:
      return kAllocationUnit;
    case FileType::kLinearRecord:
    case FileType::kCyclicRecord:
      return RoundUp(static_cast<std::uint64_t>(file.recordSize) * file.maxRecords);
  }
  return 0;
}

std::uint64_t StorageBytes(std::uint8_t code) {
  const unsigned exponent = std::min<unsigned>(code >> 1, 24);
  const std::uint64_t base = std::uint64_t{1} << exponent;
  return (code & 1) != 0 ? base + base / 2 : base;
}

std::uint32_t ReadU24(Data data, std::size_t at) {
  return static_cast<std::uint32_t>(data[at]) | static_cast<std::uint32_t>(data[at + 1]) << 8 |
         static_cast<std::uint32_t>(data[at + 2]) << 16;
}

std::int32_t ReadS32(Data data, std::size_t at) {
  const std::uint32_t value = ReadU24(data, at) | static_cast<std::uint32_t>(data[at + 3]) << 24;
  return static_cast<std::int32_t>(value);
}

void AppendU24(Bytes& out, std::uint32_t value) {
  for (int shift = 0; shift < 24; shift += 8)
    out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void AppendS32(Bytes& out, std::int32_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<std::uint8_t>(bits >> shift));
}

}  // namespace lumivex::sim::desfire
