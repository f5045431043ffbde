// Internal to the simulated DESFire card: the card as the reader sees it. It unwraps the frames,
// hands each native command to the handler of its concern and continues the exchanges that span
// several frames; every handler works on the one card state.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/desfire/desfire_applications.h"
#include "sim/desfire/desfire_card.h"
#include "sim/desfire/desfire_data.h"
#include "sim/desfire/desfire_files.h"
#include "sim/desfire/desfire_keys.h"
#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"
#include "sim/desfire/desfire_values.h"

namespace lumivex::sim::desfire {

class DesfireCard final : public SimCard {
 public:
  explicit DesfireCard(const DesfireOptions& options);
  // The handlers keep a reference to the state of this card.
  DesfireCard(const DesfireCard&) = delete;
  DesfireCard& operator=(const DesfireCard&) = delete;

  [[nodiscard]] std::vector<std::uint8_t> Atr() const override;
  [[nodiscard]] std::vector<std::uint8_t> Uid() const override;
  std::vector<std::uint8_t> Transmit(std::span<const std::uint8_t> command) override;
  void PowerCycle() override;

 private:
  // A native command: ends the exchange under way, then goes to its handler.
  Reply Execute(std::uint8_t command, Data data);
  // 90 AF: the next frame of a chained answer, of an authentication or of a write.
  Reply Continue(Data data);

  CardState state_;
  KeyCommands keys_{state_};
  ApplicationCommands applications_{state_};
  FileCommands files_{state_};
  DataCommands data_{state_};
  ValueCommands values_{state_};
};

}  // namespace lumivex::sim::desfire
