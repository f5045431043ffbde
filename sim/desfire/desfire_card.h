// A DESFire EV1 card (native command set, DES and 2K3DES keys) reached through ISO 7816-4
// wrapped frames (90 INS 00 00 Lc data 00 -> data 91 status).
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "sim/sim_card.h"

namespace lumivex::sim {

struct DesfireOptions {
  std::array<std::uint8_t, 7> uid{0x04, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
  std::uint64_t seed = 1;           // the card's random numbers (RndB) are drawn from it
  std::uint8_t storageCode = 0x1A;  // GetVersion storage size byte: 0x1A = 8 KiB
};

std::shared_ptr<SimCard> MakeDesfire(const DesfireOptions& options = {});

}  // namespace lumivex::sim
