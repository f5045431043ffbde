#include "sim/card_factory.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "component/hex.h"
#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"

namespace lumivex::sim {

namespace {

// Copies the UID into the model's array; false when its length is not the model's.
template <std::size_t N>
bool FillUid(const std::string& hex, std::array<std::uint8_t, N>& uid) {
  if (hex.empty()) return true;
  if (hex.size() != 2 * N) return false;
  const std::vector<std::uint8_t> bytes = HexToBytes(hex);
  std::copy(bytes.begin(), bytes.end(), uid.begin());
  return true;
}

}  // namespace

CardChoice MakeCard(const std::string& kind, std::string uidHex, std::uint64_t seed) {
  if (!IsHexString(uidHex)) return {nullptr, "the UID must be hexadecimal"};
  if (kind == "none") return {};
  if (kind == "mifare1k" || kind == "mifare4k") {
    MifareClassicOptions options;
    options.fourK = kind == "mifare4k";
    if (!FillUid(uidHex, options.uid)) {
      return {nullptr, "a MIFARE Classic UID has 4 bytes (8 hexadecimal digits)"};
    }
    return {MakeMifareClassic(options), {}};
  }
  if (kind == "desfire") {
    DesfireOptions options;
    options.seed = seed;
    if (!FillUid(uidHex, options.uid)) {
      return {nullptr, "a DESFire UID has 7 bytes (14 hexadecimal digits)"};
    }
    return {MakeDesfire(options), {}};
  }
  return {nullptr, "unknown card kind '" + kind + "' (desfire, mifare1k, mifare4k or none)"};
}

}  // namespace lumivex::sim
