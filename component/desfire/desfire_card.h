// The DESFire card as the Encoder knows it: the application selected and the key authenticated
// with (DESFireSelectApplication, DESFireSelectRoot), the session key that authentication left,
// and the card's version answer, read once. The other DESFire operations (applications, keys,
// files, transfers, values) work through it: its frame, its exchanges and its cryptograms.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "component/bytes.h"
#include "component/command_engine.h"
#include "component/operation.h"
#include "crypto/des_cipher.h"

namespace lumivex {

class Host;

namespace desfire {

class Cryptogram;

// The highest file number the operations on files take (deletion, settings, transfers).
inline constexpr std::int32_t kMaxFileNumber = 15;
// The largest size, offset, length or count that three bytes carry.
inline constexpr std::int32_t kMax24 = 0xFFFFFF;

class Card {
 public:
  Card(Reporting& reporting, CommandEngine& engine, Host& host)
      : reporting_(reporting), engine_(engine), host_(host) {}
  ~Card();  // wipes the session key
  Card(const Card&) = delete;
  Card& operator=(const Card&) = delete;

  // ---- Selection and authentication (desfire_authentication.cpp) ----
  sceReturnCode SelectRoot(const std::string& KeyValue);
  sceReturnCode SelectApplication(const std::string& ApplicationId, std::int32_t KeyNumber,
                                  const std::string& KeyValue);

  // ---- The session ----
  // Only a successful authentication stores a key number (0 to 13); a new Encoder holds 0, so
  // this passes before any authentication too and the card answers with its own status.
  [[nodiscard]] bool IsAuthenticated() const { return keyNumber_ >= 0 && keyNumber_ <= 13; }
  [[nodiscard]] bool AtRoot() const { return applicationId_ == "000000"; }
  [[nodiscard]] std::int32_t keyNumber() const { return keyNumber_; }
  // The card's GetVersion answer, kept for the Encoder's life once it is read.
  [[nodiscard]] Bytes& versionCache() { return version_; }

  // ---- What every DESFire operation shares ----
  // Runs a public operation in its frame: "--> name", the record cleared, the body (an Outcome),
  // the record reset with the name after a success, "<-- name"; a cipher error is recorded with
  // its own number, anything else that escapes as "The requested operation failed".
  template <typename Body>
  sceReturnCode Run(std::string_view name, Body&& body) {
    Operation operation(reporting_, {.name = name, .onException = OnException::kRecordFailure});
    return operation.Run(std::forward<Body>(body));
  }
  // A native command, the card's continuation frames gathered.
  Reply Send(Command command, std::span<const FrameArg> args);
  Reply Send(Command command, std::initializer_list<FrameArg> args = {}) {
    return Send(command, std::span<const FrameArg>(args.begin(), args.size()));
  }
  // True when the command succeeded with the answer 9100.
  static bool Answered(const Reply& reply);
  // Records "The requested operation failed" for the operation, with the status word.
  Outcome Fail(const Reply& reply, std::string_view operation);
  // A command that must be answered 9100.
  Outcome SendExpectOk(Command command, std::span<const FrameArg> args, std::string_view operation);
  Outcome SendExpectOk(Command command, std::initializer_list<FrameArg> args,
                       std::string_view operation) {
    return SendExpectOk(command, std::span<const FrameArg>(args.begin(), args.size()), operation);
  }
  // Records a failure of the operation's own (checks before anything is sent).
  Outcome Refuse(const Failure& failure, std::string_view operation);
  // The cryptogram enciphered with the session key; remembered as key material for the trace.
  Bytes Encipher(const Cryptogram& cryptogram);

  [[nodiscard]] Reporting& reporting() { return reporting_; }
  [[nodiscard]] CommandEngine& engine() { return engine_; }

 private:
  // A pass of the authentication answered with another status word than expected fails with the
  // pass's failure; nothing is recorded when nothing came back (the engine did). Nothing: go on.
  std::optional<Outcome> PassFailed(const Reply& reply, StatusWord expected, const Failure& failure,
                                    const char* command);
  // K1, K2 and K1 again as the cipher's three keys (two-key triple DES, or single DES when the
  // halves are equal), with the all-zero IV the card's protocol prescribes.
  void LoadKey(std::array<std::uint8_t, 8> first, std::array<std::uint8_t, 8> second);

  Reporting& reporting_;
  CommandEngine& engine_;
  Host& host_;
  crypto::DesCipher cipher_;   // keys and IV are set afresh by every use
  std::string applicationId_;  // as the host wrote it, normalised ("000000" for the root)
  std::int32_t keyNumber_ = 0;
  SecretBytes sessionKey_;  // 16 bytes once authenticated
  Bytes version_;
};

}  // namespace desfire
}  // namespace lumivex
