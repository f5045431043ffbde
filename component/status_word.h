// The status word that closes a card's or reader's answer: SW1 SW2, or the one byte of an answer
// that had only one. FFFF stands for "nothing received": the engine reports it when no answer came
// back (encoder closed, no card, a failed transmit, a command that is not sent).
#pragma once

#include <cstdint>
#include <string>

#include "component/bytes.h"

namespace lumivex {

class StatusWord {
 public:
  constexpr StatusWord() = default;
  constexpr explicit StatusWord(std::uint16_t value) : value_(value) {}

  // The last two bytes of an answer of two bytes or more, its only byte otherwise.
  static StatusWord OfAnswer(ByteView answer);

  [[nodiscard]] constexpr std::uint16_t value() const { return value_; }
  [[nodiscard]] constexpr bool NothingReceived() const { return value_ == 0xFFFF && size_ == 2; }
  // "91AF"; one byte gives two digits ("6F").
  [[nodiscard]] std::string Hex() const;
  constexpr bool operator==(const StatusWord&) const = default;

 private:
  std::uint16_t value_ = 0xFFFF;
  std::uint8_t size_ = 2;
};

namespace sw {
inline constexpr StatusWord kOk{0x9000};
inline constexpr StatusWord kDesfireOk{0x9100};
inline constexpr StatusWord kDesfireOkToo{0x9101};  // accepted like 9100
inline constexpr StatusWord kMoreFrames{0x91AF};    // the card has more to send, or waits for more
inline constexpr StatusWord kNoChanges{0x910C};     // no change to commit or abort
inline constexpr StatusWord kBoundary{0x91BE};      // beyond a file's or a value's limits
inline constexpr StatusWord kFileNotFound{0x91F0};
}  // namespace sw

}  // namespace lumivex
