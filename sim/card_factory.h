// Simulated cards by name, as the tool's options and the test winscard.dll's environment give
// them: "mifare1k", "mifare4k", "desfire", or "none" for an empty reader.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sim/sim_card.h"

namespace lumivex::sim {

// What a request produced: the card (null for "none") or, when the kind or the UID is not valid,
// the reason and no card.
struct CardChoice {
  std::shared_ptr<SimCard> card;
  std::string error;
  [[nodiscard]] bool ok() const { return error.empty(); }
};

// uidHex: the card's UID in hexadecimal (blanks allowed), empty for the model's own UID; it must
// have exactly the model's length (4 bytes MIFARE Classic, 7 bytes DESFire). seed: the DESFire
// card's random numbers.
CardChoice MakeCard(const std::string& kind, std::string uidHex, std::uint64_t seed = 1);

}  // namespace lumivex::sim
