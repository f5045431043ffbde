// The DES block primitive (FIPS 46-3) on 64-bit words: key schedule and one-block encipher and
// decipher, table-driven. The DES class and the card simulator build on it.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace lumivex::crypto {

class DesKeySchedule {
 public:
  DesKeySchedule() = default;
  explicit DesKeySchedule(std::uint64_t key) { Set(key); }
  ~DesKeySchedule();  // wipes the round keys
  DesKeySchedule(const DesKeySchedule&) = default;
  DesKeySchedule& operator=(const DesKeySchedule&) = default;

  void Set(std::uint64_t key);  // parity bits ignored
  [[nodiscard]] std::uint64_t Encrypt(std::uint64_t block) const;
  [[nodiscard]] std::uint64_t Decrypt(std::uint64_t block) const;

 private:
  std::array<std::uint64_t, 16> rounds_{};
};

// Big-endian load/store of an 8-byte block.
std::uint64_t LoadBlock(std::span<const std::uint8_t, 8> bytes);
void StoreBlock(std::uint64_t block, std::span<std::uint8_t, 8> bytes);

}  // namespace lumivex::crypto
