// Internal to the simulated DESFire card: the card object, its state and one member per native
// command. The members are spread over the desfire_*.cpp files by concern.
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
#include "sim/desfire/desfire_crypto.h"
#include "sim/desfire/desfire_model.h"

namespace lumivex::sim::desfire {

using Data = std::span<const std::uint8_t>;

// How a granted access is carried: as the file's communication settings (the right was granted
// through the authenticated key) or plain (the right is free).
struct Grant {
  Status status = kOk;
  Comm comm = Comm::kPlain;
};

class DesfireCard final : public SimCard {
 public:
  explicit DesfireCard(const DesfireOptions& options);
  ~DesfireCard() override;
  DesfireCard(const DesfireCard&) = delete;
  DesfireCard& operator=(const DesfireCard&) = delete;

  [[nodiscard]] std::vector<std::uint8_t> Atr() const override;
  [[nodiscard]] std::vector<std::uint8_t> Uid() const override;
  std::vector<std::uint8_t> Transmit(std::span<const std::uint8_t> command) override;
  void PowerCycle() override;

 private:
  struct Session {
    std::uint8_t keyNumber = 0;
    Key16 key{};
  };
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

  // Dispatch and frames (desfire_card.cpp).
  Reply Execute(std::uint8_t command, Data data);
  Reply Continue(Data data);
  Reply GetVersion(Data data);
  // Answers longer than one frame: the first frame now, the rest on 90 AF 00 00 00.
  Reply Chain(Bytes data, std::size_t frameSize = kMaxFrameData);
  void AbandonExchanges();

  // Selection and session state.
  [[nodiscard]] Application* FindApplication(const Aid& aid);
  [[nodiscard]] const Application* FindApplication(const Aid& aid) const;
  [[nodiscard]] Application* Selected();
  [[nodiscard]] const Application* Selected() const;
  [[nodiscard]] bool AtPiccLevel() const { return !selected_.has_value(); }
  std::vector<StoredKey>& CurrentKeys();
  std::uint8_t& CurrentSettings();
  [[nodiscard]] std::uint8_t CurrentSettings() const;
  [[nodiscard]] bool AuthenticatedWith(std::uint8_t keyNumber) const;
  void DropAuthentication();
  void AbortTransaction();
  [[nodiscard]] CardCipher SessionCipher() const;
  [[nodiscard]] std::uint64_t FreeMemory() const;

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
  [[nodiscard]] Grant Access(const File& file, std::initializer_list<std::uint8_t> rights) const;
  [[nodiscard]] Status RequireFileManagement() const;
  [[nodiscard]] Status RequireDirectoryAccess() const;
  Reply CreateFile(std::uint8_t command, Data data);
  Reply DeleteFile(Data data);
  Reply GetFileIds(Data data);
  Reply GetFileSettings(Data data);
  Reply ChangeFileSettings(Data data);
  File* FindFile(Data data, Status& status);

  // Data and records (desfire_data.cpp).
  Reply ReadData(std::uint8_t command, Data data);
  Reply StartWrite(std::uint8_t command, Data data);
  Reply ContinueWrite(Data data);
  // Takes the data received so far: complete, wait for the next frame, or refuse.
  Reply CollectWrite(IncomingWrite write, bool frameFull);
  Reply FinishWrite(IncomingWrite& write);
  Reply ClearRecordFile(Data data);
  [[nodiscard]] Bytes Secure(Bytes plain, Comm comm) const;
  Status Unwrap(Data received, std::size_t length, Comm comm, Bytes& plain) const;

  // Values and transactions (desfire_values.cpp).
  Reply GetValue(Data data);
  Reply ChangeValue(std::uint8_t command, Data data);
  Reply CommitTransaction(Data data);
  Reply AbortTransactionCommand(Data data);

  DesfireOptions options_;
  std::mt19937_64 random_;

  std::uint8_t piccSettings_ = 0x0F;
  std::vector<StoredKey> piccKeys_;        // the card master key alone
  std::vector<Application> applications_;  // in creation order
  std::uint64_t usedMemory_ = 0;

  std::optional<Aid> selected_;  // none: card (PICC) level
  std::optional<Session> session_;
  std::optional<PendingAuthentication> pendingAuthentication_;
  std::optional<IncomingWrite> incoming_;
  std::deque<OutgoingFrame> outgoing_;
};

// Little-endian fields of the native commands.
std::uint32_t ReadU24(Data data, std::size_t at);
std::int32_t ReadS32(Data data, std::size_t at);
void AppendU24(Bytes& out, std::uint32_t value);
void AppendS32(Bytes& out, std::int32_t value);

}  // namespace lumivex::sim::desfire
