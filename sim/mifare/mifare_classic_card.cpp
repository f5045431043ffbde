// A MIFARE Classic card together with the reader commands that reach its memory:
//   FF F3 00 bb 06 key(6) 10              read block bb, authenticating with the key
//   FF F4 00 bb 16 data(16) key(6)        write block bb, authenticating with the key
//   FF 82 00 nn 06 key(6)                 load a key into the reader's volatile slot nn (00..1F)
//   FF 86 00 00 05 01 00 bb tt nn         authenticate block bb with the key of slot nn
//                                         (key type tt: 60 = A, 61 = B, any other: A, then B)
//   FF B0 00 bb 10                        read block bb in the authenticated sector
//   FF D6 00 bb 10 data(16)               write block bb in the authenticated sector
// The read and write commands with a key carry no key type: this reader tries the key as key A
// of the block's sector and, when that does not give access, as key B.
#include "sim/mifare/mifare_classic_card.h"

#include <algorithm>
#include <optional>

#include "sim/mifare/access_conditions.h"
#include "sim/mifare/classic_geometry.h"
#include "sim/status_words.h"

namespace lumivex::sim {

namespace {

using Block = std::array<std::uint8_t, 16>;
using Key = std::array<std::uint8_t, 6>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kReaderClass = 0xFF;
constexpr std::uint8_t kReadWithKey = 0xF3;
constexpr std::uint8_t kWriteWithKey = 0xF4;
constexpr std::uint8_t kLoadKey = 0x82;
constexpr std::uint8_t kGeneralAuthenticate = 0x86;
constexpr std::uint8_t kReadBinary = 0xB0;
constexpr std::uint8_t kUpdateBinary = 0xD6;
constexpr std::size_t kKeySlots = 0x20;
constexpr std::uint8_t kKeyTypeA = 0x60;
constexpr std::uint8_t kKeyTypeB = 0x61;

constexpr std::size_t kKeyBOffset = 10;
constexpr std::size_t kAccessOffset = 6;

// Factory trailer: key A FFFFFFFFFFFF, access bytes FF 07 80 (data groups 000, trailer 001),
// general purpose byte 69, key B FFFFFFFFFFFF.
constexpr Block kFactoryTrailer = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x07,
                                   0x80, 0x69, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
// Manufacturer data after UID, BCC, SAK and ATQA in block 0.
constexpr std::uint8_t kManufacturerData[8] = {0x4C, 0x56, 0x58, 0x53, 0x49, 0x4D, 0x30, 0x31};

const Bytes kAtr1K = {0x3B, 0x8F, 0x80, 0x01, 0x80, 0x4F, 0x0C, 0xA0, 0x00, 0x00,
                      0x03, 0x06, 0x03, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x6A};
const Bytes kAtr4K = {0x3B, 0x8F, 0x80, 0x01, 0x80, 0x4F, 0x0C, 0xA0, 0x00, 0x00,
                      0x03, 0x06, 0x03, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x69};

Key KeyAt(std::span<const std::uint8_t> bytes) {
  Key key{};
  std::copy_n(bytes.begin(), key.size(), key.begin());
  return key;
}

class MifareClassicCard final : public SimCard {
 public:
  explicit MifareClassicCard(const MifareClassicOptions& options)
      : geometry_{options.fourK}, uid_(options.uid.begin(), options.uid.end()) {
    blocks_.resize(static_cast<std::size_t>(geometry_.blockCount()));
    for (int sector = 0; sector < geometry_.sectorCount(); ++sector) {
      blocks_[static_cast<std::size_t>(geometry_.TrailerOf(sector))] = kFactoryTrailer;
    }
    Block& manufacturer = blocks_[0];
    std::copy(uid_.begin(), uid_.end(), manufacturer.begin());
    manufacturer[4] = static_cast<std::uint8_t>(uid_[0] ^ uid_[1] ^ uid_[2] ^ uid_[3]);
    manufacturer[5] = options.fourK ? 0x18 : 0x08;  // SAK
    manufacturer[6] = options.fourK ? 0x02 : 0x04;  // ATQA, least significant byte first
    manufacturer[7] = 0x00;
    std::copy(std::begin(kManufacturerData), std::end(kManufacturerData), manufacturer.begin() + 8);
  }

  [[nodiscard]] std::vector<std::uint8_t> Atr() const override {
    return geometry_.fourK ? kAtr4K : kAtr1K;
  }
  [[nodiscard]] std::vector<std::uint8_t> Uid() const override { return uid_; }
  void PowerCycle() override { session_.reset(); }

  std::vector<std::uint8_t> Transmit(std::span<const std::uint8_t> command) override {
    if (command.size() < 4) return StatusOnly(sw::kWrongLength);
    if (command[0] != kReaderClass) return StatusOnly(sw::kClassNotSupported);
    switch (command[1]) {
      case kReadWithKey:
        return ReadWithKey(command);
      case kWriteWithKey:
        return WriteWithKey(command);
      case kLoadKey:
        return LoadKey(command);
      case kGeneralAuthenticate:
        return GeneralAuthenticate(command);
      case kReadBinary:
        return ReadBinary(command);
      case kUpdateBinary:
        return UpdateBinary(command);
      default:
        return StatusOnly(sw::kUnknownInstruction);
    }
  }

 private:
  struct Session {
    int sector = 0;
    KeySlot slot = KeySlot::A;
  };

  static int BlockOf(std::uint8_t high, std::uint8_t low) { return (high << 8) | low; }
  static bool IsLe16(std::uint8_t le) { return le == 0x10 || le == 0x00; }

  [[nodiscard]] const Block& TrailerOf(int sector) const {
    return blocks_[static_cast<std::size_t>(geometry_.TrailerOf(sector))];
  }

  // The sector's conditions; none when its access bytes are inconsistent (the sector is blocked).
  [[nodiscard]] std::optional<Conditions> ConditionsOf(int sector) const {
    const Block& trailer = TrailerOf(sector);
    return DecodeAccessBytes(std::span<const std::uint8_t, 3>(trailer.data() + kAccessOffset, 3));
  }

  bool Authenticate(int block, const Key& key, KeySlot slot) {
    session_.reset();
    const int sector = geometry_.SectorOf(block);
    if (!ConditionsOf(sector)) return false;
    const Block& trailer = TrailerOf(sector);
    const std::size_t offset = slot == KeySlot::A ? 0 : kKeyBOffset;
    if (!std::equal(key.begin(), key.end(),
                    trailer.begin() + static_cast<std::ptrdiff_t>(offset))) {
      return false;
    }
    session_ = Session{sector, slot};
    return true;
  }

  // Whether the authenticated key may do what `who` allows, in the sector's present conditions.
  [[nodiscard]] bool Grants(Who who, const Conditions& conditions) const {
    if (session_->slot == KeySlot::B && KeyBIsReadable(conditions[3])) return false;
    return Allows(who, session_->slot);
  }

  // The block as the authenticated key may see it; none when the access bits refuse the read.
  [[nodiscard]] std::optional<Block> ReadBlock(int block) const {
    const auto conditions = ConditionsOf(session_->sector);
    if (!conditions) return std::nullopt;
    const Block& stored = blocks_[static_cast<std::size_t>(block)];
    if (!geometry_.IsTrailer(block)) {
      const int group = geometry_.GroupOf(block);
      if (!Grants(DataBlockAccessFor((*conditions)[group]).read, *conditions)) return std::nullopt;
      return stored;
    }
    if (session_->slot == KeySlot::B && KeyBIsReadable((*conditions)[3])) return std::nullopt;
    // Key A always reads back as zeros; the parts the key may not read do too.
    const TrailerAccess access = TrailerAccessFor((*conditions)[3]);
    Block visible{};
    if (Grants(access.readAccessBits, *conditions)) {
      std::copy_n(stored.begin() + kAccessOffset, 4, visible.begin() + kAccessOffset);
    }
    if (Grants(access.readKeyB, *conditions)) {
      std::copy_n(stored.begin() + kKeyBOffset, 6, visible.begin() + kKeyBOffset);
    }
    return visible;
  }

  // Writes what the authenticated key may write; false when it may write nothing of the block.
  bool WriteBlock(int block, std::span<const std::uint8_t> data) {
    const auto conditions = ConditionsOf(session_->sector);
    if (!conditions || block == 0) return false;  // block 0 is locked at manufacture
    Block& stored = blocks_[static_cast<std::size_t>(block)];
    if (!geometry_.IsTrailer(block)) {
      const int group = geometry_.GroupOf(block);
      if (!Grants(DataBlockAccessFor((*conditions)[group]).write, *conditions)) return false;
      std::copy_n(data.begin(), stored.size(), stored.begin());
      return true;
    }
    // A trailer write changes the parts the key may write and leaves the others as they are. The
    // access bytes are stored as given: inconsistent ones block the sector from then on.
    const TrailerAccess access = TrailerAccessFor((*conditions)[3]);
    const bool keyA = Grants(access.writeKeyA, *conditions);
    const bool bits = Grants(access.writeAccessBits, *conditions);
    const bool keyB = Grants(access.writeKeyB, *conditions);
    if (!keyA && !bits && !keyB) return false;
    if (keyA) std::copy_n(data.begin(), 6, stored.begin());
    if (bits) std::copy_n(data.begin() + kAccessOffset, 4, stored.begin() + kAccessOffset);
    if (keyB) std::copy_n(data.begin() + kKeyBOffset, 6, stored.begin() + kKeyBOffset);
    return true;
  }

  // FF F3 00 bb 06 key 10
  Bytes ReadWithKey(std::span<const std::uint8_t> command) {
    if (command.size() != 12 || command[4] != 0x06 || !IsLe16(command[11])) {
      return StatusOnly(sw::kWrongLength);
    }
    const int block = BlockOf(command[2], command[3]);
    if (!geometry_.HasBlock(block)) return StatusOnly(sw::kNotFound);
    const Key key = KeyAt(command.subspan(5, 6));
    for (const KeySlot slot : {KeySlot::A, KeySlot::B}) {
      if (!Authenticate(block, key, slot)) continue;
      if (const auto data = ReadBlock(block)) return WithStatus(*data, sw::kSuccess);
    }
    session_.reset();
    return StatusOnly(sw::kAccessDenied);
  }

  // FF F4 00 bb 16 data(16) key(6)
  Bytes WriteWithKey(std::span<const std::uint8_t> command) {
    if (command.size() != 27 || command[4] != 0x16) return StatusOnly(sw::kWrongLength);
    const int block = BlockOf(command[2], command[3]);
    if (!geometry_.HasBlock(block)) return StatusOnly(sw::kNotFound);
    const auto data = command.subspan(5, 16);
    const Key key = KeyAt(command.subspan(21, 6));
    for (const KeySlot slot : {KeySlot::A, KeySlot::B}) {
      if (!Authenticate(block, key, slot)) continue;
      if (WriteBlock(block, data)) return StatusOnly(sw::kSuccess);
    }
    session_.reset();
    return StatusOnly(sw::kAccessDenied);
  }

  // FF 82 00 nn 06 key
  Bytes LoadKey(std::span<const std::uint8_t> command) {
    if (command.size() != 11 || command[4] != 0x06) return StatusOnly(sw::kWrongLength);
    if (command[2] != 0x00) return StatusOnly(sw::kWrongParameters);  // only volatile memory
    if (command[3] >= kKeySlots) return StatusOnly(sw::kKeyNumberInvalid);
    loadedKeys_[command[3]] = KeyAt(command.subspan(5, 6));
    return StatusOnly(sw::kSuccess);
  }

  // FF 86 00 00 05 01 bb(2) type slot
  Bytes GeneralAuthenticate(std::span<const std::uint8_t> command) {
    if (command.size() != 10 || command[4] != 0x05) return StatusOnly(sw::kWrongLength);
    if (command[2] != 0x00 || command[3] != 0x00 || command[5] != 0x01) {
      return StatusOnly(sw::kWrongParameters);
    }
    const int block = BlockOf(command[6], command[7]);
    if (!geometry_.HasBlock(block)) return StatusOnly(sw::kNotFound);
    const std::uint8_t keyType = command[8];
    const std::uint8_t slotNumber = command[9];
    if (slotNumber >= kKeySlots) return StatusOnly(sw::kKeyNumberInvalid);
    const auto& key = loadedKeys_[slotNumber];
    if (!key) return StatusOnly(sw::kAccessDenied);
    const bool tryA = keyType != kKeyTypeB;
    const bool tryB = keyType != kKeyTypeA;
    if ((tryA && Authenticate(block, *key, KeySlot::A)) ||
        (tryB && Authenticate(block, *key, KeySlot::B))) {
      return StatusOnly(sw::kSuccess);
    }
    return StatusOnly(sw::kAccessDenied);
  }

  // FF B0 00 bb 10
  Bytes ReadBinary(std::span<const std::uint8_t> command) {
    if (command.size() != 5 || !IsLe16(command[4])) return StatusOnly(sw::kWrongLength);
    const int block = BlockOf(command[2], command[3]);
    if (!geometry_.HasBlock(block)) return StatusOnly(sw::kNotFound);
    if (!session_ || session_->sector != geometry_.SectorOf(block)) {
      return StatusOnly(sw::kAccessDenied);
    }
    const auto data = ReadBlock(block);
    return data ? WithStatus(*data, sw::kSuccess) : StatusOnly(sw::kAccessDenied);
  }

  // FF D6 00 bb 10 data(16)
  Bytes UpdateBinary(std::span<const std::uint8_t> command) {
    if (command.size() != 21 || command[4] != 0x10) return StatusOnly(sw::kWrongLength);
    const int block = BlockOf(command[2], command[3]);
    if (!geometry_.HasBlock(block)) return StatusOnly(sw::kNotFound);
    if (!session_ || session_->sector != geometry_.SectorOf(block)) {
      return StatusOnly(sw::kAccessDenied);
    }
    return WriteBlock(block, command.subspan(5, 16)) ? StatusOnly(sw::kSuccess)
                                                     : StatusOnly(sw::kAccessDenied);
  }

  ClassicGeometry geometry_;
  Bytes uid_;
  std::vector<Block> blocks_;
  std::array<std::optional<Key>, kKeySlots> loadedKeys_{};
  std::optional<Session> session_;
};

}  // namespace

std::shared_ptr<SimCard> MakeMifareClassic(const MifareClassicOptions& options) {
  return std::make_shared<MifareClassicCard>(options);
}

}  // namespace lumivex::sim
