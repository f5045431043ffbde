// Internal to the simulated DESFire card: the card object, with one member per native command
// working on the card's state (desfire_state.h). The members are spread over the desfire_*.cpp
// files by concern.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "sim/desfire/desfire_card.h"
#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"

namespace lumivex::sim::desfire {

class DesfireCard final : public SimCard {
 public:
  explicit DesfireCard(const DesfireOptions& options);
  DesfireCard(const DesfireCard&) = delete;
  DesfireCard& operator=(const DesfireCard&) = delete;

  [[nodiscard]] std::vector<std::uint8_t> Atr() const override;
  [[nodiscard]] std::vector<std::uint8_t> Uid() const override;
  std::vector<std::uint8_t> Transmit(std::span<const std::uint8_t> command) override;
  void PowerCycle() override;

 private:
  // Dispatch and frames (desfire_card.cpp).
  Reply Execute(std::uint8_t command, Data data);
  Reply Continue(Data data);
  Reply GetVersion(Data data);

  // Keys and authentication (desfire_keys.cpp).
  Reply Authenticate(Data data);
  Reply FinishAuthentication(Data data);
  Reply ChangeKey(Data data);
  Reply ChangeKeySettings(Data data);
  Reply GetKeySettings(Data data);
  Reply GetKeyVersion(Data data);

  // Card and applications (desfire_applications.cpp).
  Reply FormatPicc(Data data);
  Reply CreateApplication(Data data);
  Reply DeleteApplication(Data data);
  Reply GetApplicationIds(Data data);
  Reply SelectApplication(Data data);
  Reply GetFreeMemory(Data data);

  // Files (desfire_files.cpp).
  [[nodiscard]] Status RequireFileManagement() const;
  [[nodiscard]] Status RequireDirectoryAccess() const;
  Reply CreateFile(std::uint8_t command, Data data);
  Reply DeleteFile(Data data);
  Reply GetFileIds(Data data);
  Reply GetFileSettings(Data data);
  Reply ChangeFileSettings(Data data);

  // Data and records (desfire_data.cpp).
  Reply ReadData(std::uint8_t command, Data data);
  Reply StartWrite(std::uint8_t command, Data data);
  Reply ContinueWrite(Data data);
  // Takes the data received so far: complete, wait for the next frame, or refuse.
  Reply CollectWrite(IncomingWrite write, bool frameFull);
  Reply FinishWrite(IncomingWrite& write);
  Reply ClearRecordFile(Data data);

  // Values and transactions (desfire_values.cpp).
  Reply GetValue(Data data);
  Reply ChangeValue(std::uint8_t command, Data data);
  Reply CommitTransaction(Data data);
  Reply AbortTransactionCommand(Data data);

  CardState state_;
};

}  // namespace lumivex::sim::desfire
