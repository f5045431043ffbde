// The DES block primitive (FIPS 46-3): key schedule and ECB over many blocks, single or triple DES
// EDE. DesCipher is the public cipher built on it.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace lumivex::crypto {

class DesKeySchedule {
 public:
  DesKeySchedule() = default;
  ~DesKeySchedule();  // wipes the round keys
  DesKeySchedule(const DesKeySchedule&) = default;
  DesKeySchedule& operator=(const DesKeySchedule&) = default;

  void Set(std::uint64_t key);  // parity bits ignored

  // The 16 round keys in the layout the rounds read (see des_tables.h).
  [[nodiscard]] const std::array<std::uint64_t, 16>& rounds() const { return rounds_; }

 private:
  std::array<std::uint64_t, 16> rounds_{};
};

// Big-endian load of an 8-byte block.
std::uint64_t LoadBlock(std::span<const std::uint8_t, 8> bytes);

namespace detail {

// ECB over whole 8-byte blocks, in.size() == out.size() (out may be in itself). One schedule is
// single DES; three are triple DES EDE: E(k3, D(k2, E(k1, P))) and its inverse.
void EcbCrypt(bool decipher, std::span<const DesKeySchedule> keys, std::span<const std::uint8_t> in,
              std::span<std::uint8_t> out);

}  // namespace detail
}  // namespace lumivex::crypto
