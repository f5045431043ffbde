// A simulated contactless card as the reader sees it: an ATR, a UID and command APDUs.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace lumivex::sim {

class SimCard {
 public:
  virtual ~SimCard() = default;
  // The ATR a PC/SC reader builds for this card.
  [[nodiscard]] virtual std::vector<std::uint8_t> Atr() const = 0;
  // The UID answered to the reader's get-UID command (FF CA 00 00 00).
  [[nodiscard]] virtual std::vector<std::uint8_t> Uid() const = 0;
  // One command APDU in, the response APDU (data, SW1, SW2) out. Reader commands of class FF other
  // than get-UID reach the card model too: MIFARE Classic cards implement the reader's read/write
  // with key, load key, authenticate and read binary on top of their memory.
  virtual std::vector<std::uint8_t> Transmit(std::span<const std::uint8_t> command) = 0;
  // The field went off and on again: authentication and selection are lost, memory is kept.
  virtual void PowerCycle() = 0;
};

}  // namespace lumivex::sim
