// Selecting a DESFire application and authenticating in it with the card's native three-pass
// exchange (single DES or two-key triple DES), which leaves the session key for the later
// operations. The card sends its random number RndB enciphered; we answer our RndA and RndB
// turned by one byte, deciphered in the sending chaining; the card proves it knows the key by
// sending RndA turned by one byte.
#include <algorithm>
#include <array>
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
  if (!rotated.empty())
    std::rotate(rotated.span().begin(), rotated.span().begin() + 1, rotated.span().end());
  return rotated;
}

// Four bytes of a random number from the given one on (fewer when it is shorter).
ByteView Quarter(const SecretBytes& bytes, std::size_t from) {
  const ByteView view = bytes.view();
  return from >= view.size() ? ByteView()
                             : view.subspan(from, std::min<std::size_t>(4, view.size() - from));
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

sceReturnCode Card::SelectApplication(const std::string& ApplicationId, std::int32_t KeyNumber,
                                      const std::string& KeyValue) {
  return Run(kSelectApplication, [&]() -> Outcome {
    const std::string_view op = kSelectApplication;
    std::string appId = ApplicationId;
    if (!IsHexString(appId, 6)) return Refuse(failure::kIncorrectAppId, op);
    if (KeyNumber < 0 || KeyNumber > 13) return Refuse(failure::kBadKeyNumber, op);
    std::string key = KeyValue;
    const WipeOnExit wipeKey(key);
    if (!IsHexString(key)) return Refuse(failure::kInvalidKey, op);
    if (key.size() != 32 && (key.empty() || key.size() > 16)) {
      return Refuse(failure::kBadKeyLength, op);
    }
    TraceLog& trace = reporting_.trace;
    trace.RememberSecret(key);

    // The key record: its kind and its two halves (a single-DES key is both halves).
    const bool triple = key.size() == 32;
    const auto algorithm = triple ? crypto::DesAlgorithm::kTriple : crypto::DesAlgorithm::kSingle;
    std::string first = triple ? key.substr(0, 16) : key;
    std::string second = triple ? key.substr(16) : key;
    const WipeOnExit wipeFirst(first);
    const WipeOnExit wipeSecond(second);
    const Bytes application = HexToBytes(appId);

    // A reader that authenticates by itself would be given a frame for this command (reader and
    // card key numbers, application, the three DES keys); ours has none, so nothing is sent.
    Reply reply = engine_.Run(Command::kDesfireAuthenticate1,
                              {KeyNumber, KeyNumber, application, FrameArg::Text(first),
                               FrameArg::Text(second), FrameArg::Text(first)});
    if (reply.result != sceSuccess) {
      reporting_.record.Set({.ComFunction = std::string(op),
                             .RdrCommand = "DesfireAuthenticate1",
                             .RdrRetCode = reply.statusWord.Hex()});
      return Refused();
    }
    if (engine_.Run(Command::kDesfireSelectApplication, {application}).result != sceSuccess) {
      return Failed();
    }

    // First pass: the card answers RndB, enciphered, and waits for ours. When nothing came back
    // (encoder closed, no card, a failed transmit) the engine has recorded why.
    reply = engine_.Run(Command::kDesfireAuthenticate2, {KeyNumber});
    if (reply.result != sceSuccess && reply.statusWord.NothingReceived()) return Failed();
    if (reply.statusWord != sw::kMoreFrames) {
      reporting_.record.Fail(failure::kCannotConnectPicc, op, "DesfireAuthenticate2",
                             reply.statusWord.Hex());
      return Refused();
    }

    std::array<std::uint8_t, kHalf> k1 = KeyHalf(first);
    std::array<std::uint8_t, kHalf> k2 = KeyHalf(second);
    cipher_.SetInitVector(std::array<std::uint8_t, kHalf>{});
    cipher_.SetKey(1, k1);
    cipher_.SetKey(2, k2);
    cipher_.SetKey(3, k1);
    crypto::SecureWipe(k1.data(), k1.size());
    crypto::SecureWipe(k2.data(), k2.size());
    const std::int32_t receive = crypto::DesModeWord(algorithm, crypto::DesChaining::kCbc);
    const std::int32_t send = crypto::DesModeWord(algorithm, crypto::DesChaining::kLegacyChain);

    SecretBytes rndB(cipher_.Decrypt(reply.data, receive));
    // RndA comes from the system's cryptographic generator: a predictable challenge would let an
    // eavesdropper replay or derive the session key.
    std::array<std::uint8_t, kHalf> random{};
    if (!host_.FillRandom(random)) throw std::runtime_error("No cryptographic random source");
    const SecretBytes rndA(random);
    crypto::SecureWipe(random.data(), random.size());

    // Second pass: RndA and RndB' deciphered in the sending chaining.
    SecretBytes plainToken(rndA.view());
    plainToken.Append(Rotated(rndB).view());
    const SecretBytes token(cipher_.Decrypt(plainToken.view(), send));
    trace.RememberSecret(token.view());
    reply = engine_.Run(Command::kDesfireAuthenticate3, {token});
    if (reply.result != sceSuccess && reply.statusWord.NothingReceived()) return Failed();
    if (reply.statusWord != sw::kDesfireOk) {
      reporting_.record.Fail(failure::kAuthenticationFailure, op, "DesfireAuthenticate3",
                             reply.statusWord.Hex());
      return Refused();
    }
    const SecretBytes rndAFromCard(cipher_.Decrypt(reply.data, receive));
    if (!(rndAFromCard == Rotated(rndA))) {
      reporting_.record.Fail(failure::kAuthenticationFailure, op, "DesfireAuthenticate4",
                             "RndA failed");
      return Refused();
    }

    // Triple DES: the first halves of RndA and RndB, then their second halves; single DES
    // repeats the first halves.
    const std::size_t secondHalf = triple ? 4 : 0;
    SecretBytes session(Quarter(rndA, 0));
    session.Append(Quarter(rndB, 0));
    session.Append(Quarter(rndA, secondHalf));
    session.Append(Quarter(rndB, secondHalf));
    trace.RememberSecret(session.view());
    sessionKey_ = std::move(session);
    applicationId_ = appId;
    keyNumber_ = KeyNumber;
    return Succeeded();
  });
}

}  // namespace lumivex::desfire
