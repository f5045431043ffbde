// Selecting a DESFire application and authenticating in it with the card's native three-pass
// exchange (single DES or two-key triple DES), which leaves the session key for the later
// operations. The card sends its random number RndB enciphered; we answer our RndA and RndB
// turned by one byte, deciphered in the sending chaining; the card proves it knows the key by
// sending RndA turned by one byte.
#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

#include "component/desfire/desfire_card.h"
#include "component/hex.h"
#include "crypto/des_mode.h"
#include "crypto/secure_memory.h"
#include "platform/host.h"

namespace lumivex::desfire {

namespace {

constexpr const char* kSelectApplication = "DESFireSelectApplication";
constexpr std::size_t kHalf = 8;  // bytes of a DES key, of a random number, of a cipher block

// The key as the host wrote it (normalised), its kind and its two halves: a key of 32 digits is
// two-key triple DES, one of 1 to 16 digits single DES and both halves.
struct KeyRecord {
  explicit KeyRecord(std::string value) : text(std::move(value)) {}
  ~KeyRecord() {
    crypto::SecureWipe(text);
    crypto::SecureWipe(first);
    crypto::SecureWipe(second);
  }
  KeyRecord(const KeyRecord&) = delete;
  KeyRecord& operator=(const KeyRecord&) = delete;

  // Normalises the text; the failure that refuses it, if any.
  const Failure* Check() {
    if (!IsHexString(text)) return &failure::kInvalidKey;
    if (text.size() != 32 && (text.empty() || text.size() > 16)) return &failure::kBadKeyLength;
    triple = text.size() == 32;
    first = triple ? text.substr(0, 16) : text;
    second = triple ? text.substr(16) : text;
    return nullptr;
  }
  [[nodiscard]] crypto::DesAlgorithm algorithm() const {
    return triple ? crypto::DesAlgorithm::kTriple : crypto::DesAlgorithm::kSingle;
  }

  std::string text;
  bool triple = false;
  std::string first;
  std::string second;
};

// A key half of 1 to 16 hexadecimal digits as a DES key: an odd count reads with a "0" in front,
// a short key is completed with zero bytes.
std::array<std::uint8_t, kHalf> KeyHalf(std::string_view digits) {
  std::string text = digits.size() % 2 == 0 ? std::string(digits) : "0" + std::string(digits);
  Bytes bytes = HexToBytes(text);
  std::array<std::uint8_t, kHalf> key{};
  std::copy_n(bytes.begin(), std::min(bytes.size(), key.size()), key.begin());
  crypto::SecureWipe(text);
  crypto::SecureWipe(bytes);
  return key;
}

// A random number turned left by one byte.
SecretBytes Rotated(const SecretBytes& bytes) {
  SecretBytes rotated(bytes.view());
  if (!rotated.empty()) {
    std::rotate(rotated.span().begin(), rotated.span().begin() + 1, rotated.span().end());
  }
  return rotated;
}

// Four bytes of a random number from the given one on (fewer when it is shorter).
ByteView Quarter(const SecretBytes& bytes, std::size_t from) {
  const ByteView view = bytes.view();
  return from >= view.size() ? ByteView()
                             : view.subspan(from, std::min<std::size_t>(4, view.size() - from));
}

// Triple DES: the first halves of RndA and RndB, then their second halves; single DES repeats
// the first halves.
SecretBytes SessionKey(const SecretBytes& rndA, const SecretBytes& rndB, bool triple) {
  const std::size_t secondHalf = triple ? 4 : 0;
  SecretBytes session(Quarter(rndA, 0));
  session.Append(Quarter(rndB, 0));
  session.Append(Quarter(rndA, secondHalf));
  session.Append(Quarter(rndB, secondHalf));
  return session;
}

}  // namespace

sceReturnCode Card::SelectRoot(const std::string& KeyValue) {
  // The record is the application selection's; this operation only puts its own name on it.
  Operation operation(reporting_, {.name = "DESFireSelectRoot",
                                   .clearOnEntry = false,
                                   .onException = OnException::kRecordFailure});
  return operation.Run([&] {
    const sceReturnCode result = SelectApplication("00 00 00", 0, KeyValue);
    return result == sceError ? Failed() : Succeeded();
  });
}

std::optional<Outcome> Card::PassFailed(const Reply& reply, StatusWord expected,
                                        const Failure& failure, const char* command) {
  // Nothing came back (encoder closed, no card, a failed transmit): the engine recorded why.
  if (reply.result != sceSuccess && reply.statusWord.NothingReceived()) return Failed();
  if (reply.statusWord == expected) return std::nullopt;
  reporting_.record.Fail(failure, kSelectApplication, command, reply.statusWord.Hex());
  return Refused();
}

sceReturnCode Card::SelectApplication(const std::string& ApplicationId, std::int32_t KeyNumber,
                                      const std::string& KeyValue) {
  return Run(kSelectApplication, [&]() -> Outcome {
    std::string appId = ApplicationId;
    if (!IsHexString(appId, 6)) return Refuse(failure::kIncorrectAppId, kSelectApplication);
    if (KeyNumber < 0 || KeyNumber > 13) {
      return Refuse(failure::kBadKeyNumber, kSelectApplication);
    }
    KeyRecord key(KeyValue);
    if (const Failure* refused = key.Check()) return Refuse(*refused, kSelectApplication);
    TraceLog& trace = reporting_.trace;
    trace.RememberSecret(key.text);
    const Bytes application = HexToBytes(appId);

    // A reader that authenticates by itself would be given a frame for this command (reader and
    // card key numbers, application, the three DES keys); ours has none, so nothing is sent.
    Reply reply = engine_.Run(Command::kDesfireAuthenticate1,
                              {KeyNumber, KeyNumber, application, FrameArg::Text(key.first),
                               FrameArg::Text(key.second), FrameArg::Text(key.first)});
    if (reply.result != sceSuccess) {
      reporting_.record.Set({.ComFunction = kSelectApplication,
                             .RdrCommand = "DesfireAuthenticate1",
                             .RdrRetCode = reply.statusWord.Hex()});
      return Refused();
    }
    if (engine_.Run(Command::kDesfireSelectApplication, {application}).result != sceSuccess) {
      return Failed();
    }

    // First pass: the card answers RndB, enciphered, and waits for ours.
    reply = engine_.Run(Command::kDesfireAuthenticate2, {KeyNumber});
    if (const auto failed = PassFailed(reply, sw::kMoreFrames, failure::kCannotConnectPicc,
                                       "DesfireAuthenticate2")) {
      return *failed;
    }
    LoadKey(KeyHalf(key.first), KeyHalf(key.second));
    const std::int32_t receive = crypto::DesModeWord(key.algorithm(), crypto::DesChaining::kCbc);
    const std::int32_t send =
        crypto::DesModeWord(key.algorithm(), crypto::DesChaining::kLegacyChain);
    const SecretBytes rndB(cipher_.Decrypt(reply.data, receive));
    // RndA comes from the system's cryptographic generator: a predictable challenge would let an
    // eavesdropper replay or derive the session key.
    std::array<std::uint8_t, kHalf> random{};
    if (!host_.FillRandom(random)) throw std::runtime_error("No cryptographic random source");
    const SecretBytes rndA(random);
    crypto::SecureWipe(random.data(), random.size());

    // Second pass: RndA and RndB' deciphered in the sending chaining, which the card's encipher
    // undoes; the card answers RndA' enciphered.
    SecretBytes plainToken(rndA.view());
    plainToken.Append(Rotated(rndB).view());
    const SecretBytes token(cipher_.Decrypt(plainToken.view(), send));
    trace.RememberSecret(token.view());
    reply = engine_.Run(Command::kDesfireAuthenticate3, {token});
    if (const auto failed = PassFailed(reply, sw::kDesfireOk, failure::kAuthenticationFailure,
                                       "DesfireAuthenticate3")) {
      return *failed;
    }
    if (!(SecretBytes(cipher_.Decrypt(reply.data, receive)) == Rotated(rndA))) {
      reporting_.record.Fail(failure::kAuthenticationFailure, kSelectApplication,
                             "DesfireAuthenticate4", "RndA failed");
      return Refused();
    }

    SecretBytes session = SessionKey(rndA, rndB, key.triple);
    trace.RememberSecret(session.view());
    sessionKey_ = std::move(session);
    applicationId_ = appId;
    keyNumber_ = KeyNumber;
    return Succeeded();
  });
}

void Card::LoadKey(std::array<std::uint8_t, 8> first, std::array<std::uint8_t, 8> second) {
  cipher_.SetInitVector(std::array<std::uint8_t, kHalf>{});
  cipher_.SetKey(1, first);
  cipher_.SetKey(2, second);
  cipher_.SetKey(3, first);
  crypto::SecureWipe(first.data(), first.size());
  crypto::SecureWipe(second.data(), second.size());
}

}  // namespace lumivex::desfire
