// A MIFARE Classic 1K or 4K card behind a PC/SC reader: sector geometry, factory state, keys A/B,
// access conditions, and the reader commands that read and write blocks with a key.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "sim/sim_card.h"

namespace lumivex::sim {

struct MifareClassicOptions {
  bool fourK = false;
  std::array<std::uint8_t, 4> uid{0x12, 0x34, 0x56, 0x78};
};

std::shared_ptr<SimCard> MakeMifareClassic(const MifareClassicOptions& options = {});

}  // namespace lumivex::sim
