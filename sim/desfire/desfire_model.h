// Internal to the simulated DESFire card: status codes, keys, files and applications as the card
// stores them, and the fields of the native commands. Nothing outside sim/desfire/ includes this
// header.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace lumivex::sim::desfire {

using Bytes = std::vector<std::uint8_t>;
using Key16 = std::array<std::uint8_t, 16>;
using Aid = std::array<std::uint8_t, 3>;
using Data = std::span<const std::uint8_t>;  // a command's data as the reader sent it

// The second status byte of a native answer (the first is always 91).
enum Status : std::uint8_t {
  kOk = 0x00,
  kNoChanges = 0x0C,
  kOutOfMemory = 0x0E,
  kIllegalCommand = 0x1C,
  kIntegrityError = 0x1E,
  kNoSuchKey = 0x40,
  kLengthError = 0x7E,
  kPermissionDenied = 0x9D,
  kParameterError = 0x9E,
  kApplicationNotFound = 0xA0,
  kAuthenticationError = 0xAE,
  kAdditionalFrame = 0xAF,
  kBoundaryError = 0xBE,
  kCommandAborted = 0xCA,
  kCountError = 0xCE,
  kDuplicateError = 0xDE,
  kFileNotFound = 0xF0,
};

// What one command produced: the status and the whole answer data (split into frames later).
struct Reply {
  Status status = kOk;
  Bytes data;
};

// Key-settings flags (low nibble) shared by the card master key and the application master keys.
inline constexpr std::uint8_t kMasterKeyChangeable = 0x01;
inline constexpr std::uint8_t kFreeDirectoryAccess = 0x02;  // list/settings without master key
inline constexpr std::uint8_t kFreeCreateDelete = 0x04;
inline constexpr std::uint8_t kConfigurationChangeable = 0x08;

// Access-right nibble values besides key numbers.
inline constexpr std::uint8_t kRightFree = 0x0E;
inline constexpr std::uint8_t kRightNever = 0x0F;

inline constexpr std::size_t kMaxApplications = 28;
inline constexpr std::size_t kMaxKeysPerApplication = 14;
inline constexpr std::uint8_t kMaxFileNumber = 0x1F;
inline constexpr std::size_t kMaxFrameData = 59;  // bytes of data in one frame, both directions

struct StoredKey {
  Key16 value{};
  std::uint8_t version = 0;
  StoredKey() = default;
  StoredKey(const StoredKey&) = default;
  StoredKey& operator=(const StoredKey&) = default;
  ~StoredKey();  // wipes the key
};

enum class FileType : std::uint8_t {
  kStdData = 0,
  kBackupData = 1,
  kValue = 2,
  kLinearRecord = 3,
  kCyclicRecord = 4,
};

enum class Comm { kPlain, kMac, kEnciphered };

// The four access rights of a file, as the card keeps its 16-bit field.
struct AccessRights {
  std::uint8_t read = kRightFree;
  std::uint8_t write = kRightFree;
  std::uint8_t readWrite = kRightFree;
  std::uint8_t change = kRightFree;

  // The two bytes on the wire: RW and change in the first, read and write in the second.
  static AccessRights FromWire(std::uint8_t first, std::uint8_t second);
  [[nodiscard]] std::array<std::uint8_t, 2> ToWire() const;
};

// A value file's changes since the last commit.
struct PendingValue {
  std::int32_t value = 0;
  std::int64_t debits = 0;  // sum of the debits of this transaction
  bool debited = false;
  bool limitedCredited = false;
};

struct File {
  FileType type = FileType::kStdData;
  std::uint8_t commByte = 0;  // as created (bit 0 MAC, bits 0 and 1 enciphered)
  AccessRights rights;

  // Data and backup files: committed contents; backup files keep writes aside until commit.
  std::uint32_t size = 0;
  Bytes data;
  std::optional<Bytes> pendingData;

  // Value files.
  std::int32_t lowerLimit = 0;
  std::int32_t upperLimit = 0;
  std::int32_t value = 0;
  std::int32_t limitedCreditValue = 0;
  std::uint8_t limitedCreditFlags = 0;  // bit 0 limited credit enabled, bit 1 free GetValue
  std::optional<PendingValue> pendingValue;

  // Record files: committed records, oldest first; one new record and a clear wait for commit.
  std::uint32_t recordSize = 0;
  std::uint32_t maxRecords = 0;
  std::deque<Bytes> records;
  std::optional<Bytes> pendingRecord;
  bool pendingClear = false;

  [[nodiscard]] Comm comm() const;
  [[nodiscard]] bool HasPendingChanges() const {
    return pendingData || pendingValue || pendingRecord || pendingClear;
  }
  void DropPendingChanges();
  void Commit();
  // Records a cyclic file can hold at once (one slot serves the transaction).
  [[nodiscard]] std::uint32_t RecordCapacity() const;
};

struct Application {
  Aid aid{};
  std::uint8_t settings = 0x0F;
  std::vector<StoredKey> keys;
  std::map<std::uint8_t, File> files;
};

// Bytes of storage an object takes on the card, in 32-byte blocks.
std::uint64_t ApplicationCost(std::size_t keyCount);
std::uint64_t FileCost(const File& file);
// Total storage for the GetVersion storage-size code (2^(n/2), or 1.5 times that for odd n).
std::uint64_t StorageBytes(std::uint8_t code);

// Little-endian fields of the native commands.
std::uint32_t ReadU24(Data data, std::size_t at);
std::int32_t ReadS32(Data data, std::size_t at);
void AppendU24(Bytes& out, std::uint32_t value);
void AppendS32(Bytes& out, std::int32_t value);

}  // namespace lumivex::sim::desfire
