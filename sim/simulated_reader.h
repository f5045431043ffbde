// The simulated reader between PC/SC and a card: answers get-UID itself, passes every other
// command to the card, and misbehaves on request (fault and hostile modes for hardening tests).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "sim/sim_card.h"

namespace lumivex::sim {

enum class Fault {
  None,
  Mute,         // the card never answers: the transmit fails as an unresponsive card
  Garbage,      // every answer is random bytes of random length 0..4096
  Endless91AF,  // every answer is "91 AF" with some data: the card always has more to send
  RemoveAfter,  // the card leaves the field after `faultFrames` frames
};

// What one exchange produced: a response APDU, or a transport failure (a PC/SC code).
struct Exchange {
  std::vector<std::uint8_t> response;
  std::optional<std::uint32_t> failure;  // e.g. SCARD_W_REMOVED_CARD, SCARD_W_UNRESPONSIVE_CARD
};

class SimulatedReader {
 public:
  explicit SimulatedReader(std::uint64_t seed = 1);

  void InsertCard(std::shared_ptr<SimCard> card);
  void RemoveCard();
  [[nodiscard]] bool HasCard() const { return card_ != nullptr; }
  [[nodiscard]] const std::shared_ptr<SimCard>& card() const { return card_; }

  void SetFault(Fault fault, std::size_t faultFrames = 0);
  // Frames exchanged with the card since construction.
  [[nodiscard]] std::size_t frameCount() const { return frames_; }

  Exchange Transmit(std::span<const std::uint8_t> command);
  void PowerCycle();

 private:
  std::shared_ptr<SimCard> card_;
  Fault fault_ = Fault::None;
  std::size_t faultFrames_ = 0;
  std::size_t frames_ = 0;
  std::mt19937_64 random_;
};

}  // namespace lumivex::sim
