// Internal to the simulated DESFire card: the session a successful authentication opens, the access
// it gives to files, and the MAC or encipherment it puts on their data.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "sim/desfire/desfire_crypto.h"
#include "sim/desfire/desfire_model.h"

namespace lumivex::sim::desfire {

// How a granted access is carried: as the file's communication settings (the right was granted
// through the authenticated key) or plain (the right is free).
struct Grant {
  Status status = kOk;
  Comm comm = Comm::kPlain;
};

// The authenticated key number and the session key agreed with the reader, until the session
// ends. The session key is wiped when it ends.
class AuthenticatedSession {
 public:
  AuthenticatedSession() = default;
  ~AuthenticatedSession();
  AuthenticatedSession(const AuthenticatedSession&) = delete;
  AuthenticatedSession& operator=(const AuthenticatedSession&) = delete;

  void Begin(std::uint8_t keyNumber, const Key16& sessionKey);
  void End();
  [[nodiscard]] bool active() const { return established_.has_value(); }
  // The authenticated key number; only while active.
  [[nodiscard]] std::uint8_t keyNumber() const { return established_->keyNumber; }
  [[nodiscard]] bool AuthenticatedWith(std::uint8_t keyNumber) const;
  // The cipher of the session key; only while active.
  [[nodiscard]] CardCipher Cipher() const;

  // What the best of `rights` gives this session for `file`.
  [[nodiscard]] Grant Access(const File& file, std::initializer_list<std::uint8_t> rights) const;
  // Answer data as `comm` carries it: plain, followed by its MAC, or enciphered with its CRC.
  [[nodiscard]] Bytes Secure(Bytes plain, Comm comm) const;
  // The `length` bytes of data the reader sent as `comm` carries them, MAC or CRC checked.
  Status Unwrap(Data received, std::size_t length, Comm comm, Bytes& plain) const;

 private:
  struct Established {
    std::uint8_t keyNumber = 0;
    Key16 key{};
  };
  std::optional<Established> established_;
};

}  // namespace lumivex::sim::desfire
