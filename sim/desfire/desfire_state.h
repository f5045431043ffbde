// Internal to the simulated DESFire card: everything the card remembers between frames, in one
// object that every command handler works on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <vector>

#include "sim/desfire/desfire_card.h"
#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_session.h"

namespace lumivex::sim::desfire {

// An authentication (0A) waiting for the reader's answer to the challenge.
struct PendingAuthentication {
  std::uint8_t keyNumber = 0;
  Key16 key{};
  std::array<std::uint8_t, 8> rndB{};
};

// A WriteData or WriteRecord whose data arrives over several frames.
struct IncomingWrite {
  std::uint8_t command = 0;
  std::uint8_t fileNumber = 0;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
  Comm comm = Comm::kPlain;
  std::size_t expected = 0;  // bytes of data to come, MAC or cryptogram included
  Bytes received;
};

struct OutgoingFrame {
  Status status;
  Bytes data;
};

// The exchange under way over several frames, continued by 90 AF: at most one of them at a time,
// and any new command ends it.
struct Exchanges {
  Exchanges() = default;
  ~Exchanges();
  Exchanges(const Exchanges&) = delete;
  Exchanges& operator=(const Exchanges&) = delete;

  // Ends the exchange under way; the pending authentication's key is wiped.
  void Abandon();
  // Answers longer than one frame: the first frame now, the rest on 90 AF 00 00 00.
  Reply Chain(Bytes data, std::size_t frameSize = kMaxFrameData);

  std::optional<PendingAuthentication> authentication;
  std::optional<IncomingWrite> write;
  std::deque<OutgoingFrame> outgoing;  // answer frames not fetched yet
};

// What the card stores: the card master key and its settings, and the applications.
struct CardContents {
  explicit CardContents(std::uint64_t total) : totalMemory(total) {}

  [[nodiscard]] Application* Find(const Aid& aid);
  [[nodiscard]] std::uint64_t FreeMemory() const;

  std::uint8_t settings = 0x0F;
  std::vector<StoredKey> keys = std::vector<StoredKey>(1);  // the card master key alone
  std::vector<Application> applications;                    // in creation order
  std::uint64_t totalMemory;
  std::uint64_t usedMemory = 0;  // given back by formatting only
};

// The card's state: its options and random numbers, what it stores, the selected application,
// the authenticated session and the exchange under way. The open transaction is kept by the
// selected application's files (their pending changes).
struct CardState {
  explicit CardState(const DesfireOptions& options);

  [[nodiscard]] Application* Selected();
  [[nodiscard]] bool AtPiccLevel() const { return !selected.has_value(); }
  // The keys and key settings of the selected application, or of the card (PICC) level.
  std::vector<StoredKey>& CurrentKeys();
  std::uint8_t& CurrentSettings();
  // The file of the selected application that the first byte of `data` names; null, with the
  // status that says why, when there is none.
  File* FindFile(Data data, Status& status);
  // Drops the changes of the selected application's open transaction.
  void AbortTransaction();

  DesfireOptions options;
  std::mt19937_64 random;  // the card's random numbers (RndB)
  CardContents contents;
  std::optional<Aid> selected;  // none: card (PICC) level
  AuthenticatedSession session;
  Exchanges exchanges;
};

}  // namespace lumivex::sim::desfire
