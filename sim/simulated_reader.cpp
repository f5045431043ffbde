#include "sim/simulated_reader.h"

#include <utility>

#include "platform/pcsc_api.h"
#include "sim/status_words.h"

namespace lumivex::sim {

namespace {

constexpr std::size_t kMaxGarbage = 4096;
constexpr std::size_t kEndlessData = 16;  // data bytes before each "91 AF"

bool IsGetUid(std::span<const std::uint8_t> command) {
  return command.size() >= 4 && command[0] == 0xFF && command[1] == 0xCA;
}

}  // namespace

SimulatedReader::SimulatedReader(std::uint64_t seed) : random_(seed) {}

void SimulatedReader::InsertCard(std::shared_ptr<SimCard> card) {
  card_ = std::move(card);
}

void SimulatedReader::RemoveCard() {
  card_.reset();
}

void SimulatedReader::SetFault(Fault fault, std::size_t faultFrames) {
  fault_ = fault;
  faultFrames_ = faultFrames;
}

void SimulatedReader::PowerCycle() {
  if (card_) card_->PowerCycle();
}

Exchange SimulatedReader::Transmit(std::span<const std::uint8_t> command) {
  ++frames_;
  if (!card_) return {{}, scard::W_REMOVED_CARD};

  switch (fault_) {
    case Fault::None:
      break;
    case Fault::Mute:
      return {{}, scard::W_UNRESPONSIVE_CARD};
    case Fault::Garbage: {
      std::uniform_int_distribution<std::size_t> length(0, kMaxGarbage);
      std::uniform_int_distribution<int> byte(0, 0xFF);
      std::vector<std::uint8_t> garbage(length(random_));
      for (auto& b : garbage) b = static_cast<std::uint8_t>(byte(random_));
      return {garbage, std::nullopt};
    }
    case Fault::Endless91AF: {
      std::uniform_int_distribution<int> byte(0, 0xFF);
      std::vector<std::uint8_t> data(kEndlessData);
      for (auto& b : data) b = static_cast<std::uint8_t>(byte(random_));
      return {WithStatus(data, 0x91AF), std::nullopt};
    }
    case Fault::RemoveAfter:
      if (faultFrames_ == 0) {
        // The card leaves the field during this frame; a card inserted later behaves again.
        card_.reset();
        fault_ = Fault::None;
        return {{}, scard::W_REMOVED_CARD};
      }
      --faultFrames_;
      break;
  }

  if (IsGetUid(command)) {
    // The reader knows the UID from the card's activation: FF CA 00 00 Le answers it (Le 00 = all
    // of it); other P1/P2 ask for data a MIFARE reader does not keep.
    if (command[2] != 0x00 || command[3] != 0x00)
      return {StatusOnly(sw::kFunctionNotSupported), std::nullopt};
    if (command.size() > 5) return {StatusOnly(sw::kWrongLength), std::nullopt};
    std::vector<std::uint8_t> uid = card_->Uid();
    const std::size_t expected = command.size() == 5 ? command[4] : 0;
    if (expected != 0 && expected < uid.size())
      return {StatusOnly(static_cast<std::uint16_t>(0x6C00 | uid.size())), std::nullopt};
    return {WithStatus(uid, sw::kSuccess), std::nullopt};
  }
  return {card_->Transmit(command), std::nullopt};
}

}  // namespace lumivex::sim
