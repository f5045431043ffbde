// Selecting a DESFire application and authenticating in it with the native three-pass exchange
// (single DES or two-key triple DES), which leaves the session key for the later operations.
#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/desfire/desfire_operation.h"
#include "component/encoder.h"
#include "component/hex.h"
#include "crypto/des.h"
#include "crypto/secure_memory.h"
#include "platform/host.h"

namespace lumivex {

namespace {

constexpr const char* kSelectApplication = "DESFireSelectApplication";
constexpr const char* kSelectRoot = "DESFireSelectRoot";
constexpr const char* kZeroIv = "00 00 00 00 00 00 00 00";

// Key kinds, which are also the algorithm part of the cipher's mode word.
constexpr crypto::DesAlgorithm kSingleDes = crypto::DesAlgorithm::kSingle;
constexpr crypto::DesAlgorithm kTripleDes = crypto::DesAlgorithm::kTriple;

// The engine reports a failure without any status word when nothing came back from the card
// (encoder closed, no card, transport error): such failures are the engine's own to report.
bool NothingReceived(const std::string& statusWord) {
  return statusWord == desfire::kSwNothingReceived;
}

}  // namespace

sceReturnCode Encoder::DESFireSelectRoot(const std::string& KeyValue) {
  Trace(std::string("--> ") + kSelectRoot);
  const sceReturnCode result = desfire::Guarded(
      LastError(), kSelectRoot, [&] { return DESFireSelectApplication("00 00 00", 0, KeyValue); });
  if (result == sceError) {
    FinishLastError(kSelectRoot);
  } else {
    ClearLastError(kSelectRoot);
  }
  Trace(std::string("<-- ") + kSelectRoot);
  return result;
}

sceReturnCode Encoder::DESFireSelectApplication(const std::string& ApplicationId,
                                                std::int32_t KeyNumber,
                                                const std::string& KeyValue) {
  const std::string op = kSelectApplication;
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;

    std::string appId = ApplicationId;
    if (!IsHexString(appId, 6)) return Record(LastError(), fail::IncorrectAppId, op);
    if (KeyNumber < 0 || KeyNumber > 13) return Record(LastError(), fail::BadKeyNumber, op);
    desfire::SecretText key(KeyValue);
    if (!IsHexString(key.str())) return Record(LastError(), fail::InvalidKey, op);
    const std::size_t length = key.str().size();
    if (length != 32 && (length < 1 || length > 16)) {
      return Record(LastError(), fail::BadKeyLength, op);
    }
    RememberSecret(key.str());

    // The key record: its kind and its two halves (a single-DES key is both halves).
    const crypto::DesAlgorithm kind = length == 32 ? kTripleDes : kSingleDes;
    const desfire::SecretText first(kind == kTripleDes ? key.str().substr(0, 16) : key.str());
    const desfire::SecretText second(kind == kTripleDes ? key.str().substr(16) : key.str());
    const std::string keyNumber = desfire::Hex2(KeyNumber);

    std::string response;
    std::string statusWord;
    bool autoContinue = false;

    // A reader that authenticates by itself would be given a template for this command (reader
    // and card key numbers, application, the three DES keys); ours has none, so the engine sends
    // nothing and reports success.
    if (EncoderCommand(cmd::DesfireAuthenticate1,
                       {keyNumber, keyNumber, appId, first.str(), second.str(), first.str()},
                       response, statusWord, autoContinue) != sceSuccess) {
      ErrorFields fields;
      fields.ComFunction = op;
      fields.RdrCommand = "DesfireAuthenticate1";
      fields.RdrRetCode = statusWord;
      SetLastError(fields);
      return sceError;
    }

    if (EncoderCommand(cmd::DesfireSelectApplication, {appId}, response, statusWord,
                       autoContinue) != sceSuccess) {
      FinishLastError(op);
      return sceError;
    }

    // First pass: the card answers its random number RndB, enciphered, and waits for ours.
    autoContinue = false;
    const sceReturnCode first_pass =
        EncoderCommand(cmd::DesfireAuthenticate2, {keyNumber}, response, statusWord, autoContinue);
    if (first_pass != sceSuccess && NothingReceived(statusWord)) {
      FinishLastError(op);
      return sceError;
    }
    if (desfire::Upper(statusWord) != desfire::kSwMore) {
      return Record(LastError(), fail::CannotConnectPicc, op, "DesfireAuthenticate2", statusWord);
    }

    crypto::DES& des = Des();
    des.InitVector(kZeroIv);
    des.Keys(1, first.str());
    des.Keys(2, second.str());
    des.Keys(3, first.str());

    const desfire::SecretText rndB(desfire::RemoveBlanks(
        des.Decrypt(response, crypto::DesModeWord(kind, crypto::DesChaining::kCbc))));
    const desfire::SecretText rndBRotated(desfire::RotateLeftOneByte(rndB.str()));

    // RndA comes from the system's cryptographic generator: a predictable challenge would let
    // an eavesdropper replay or derive the session key.
    std::array<std::uint8_t, 8> random{};
    if (!platform_.host || !platform_.host->FillRandom(random)) {
      throw std::runtime_error("No cryptographic random source");
    }
    desfire::SecretText rndA;
    for (const std::uint8_t byte : random) rndA.str() += desfire::Hex2(byte);
    crypto::SecureWipe(random.data(), random.size());

    // Second pass: RndA and RndB' deciphered in the sending chaining, which the card's encipher
    // undoes.
    desfire::SecretText plainToken(rndA.str());
    plainToken.str() += rndBRotated.str();
    const desfire::SecretText token(desfire::RemoveBlanks(des.Decrypt(
        plainToken.str(), crypto::DesModeWord(kind, crypto::DesChaining::kLegacyChain))));
    RememberSecret(token.str());
    autoContinue = false;
    const sceReturnCode second_pass = EncoderCommand(cmd::DesfireAuthenticate3, {token.str()},
                                                     response, statusWord, autoContinue);
    if (second_pass != sceSuccess && NothingReceived(statusWord)) {
      FinishLastError(op);
      return sceError;
    }
    if (desfire::Upper(statusWord) != desfire::kSwOk) {
      return Record(LastError(), fail::AuthenticationFailure, op, "DesfireAuthenticate3",
                    statusWord);
    }

    // The card proves it knows the key by sending RndA turned left by one byte.
    const desfire::SecretText rndAFromCard(desfire::Upper(desfire::RemoveBlanks(
        des.Decrypt(response, crypto::DesModeWord(kind, crypto::DesChaining::kCbc)))));
    if (rndAFromCard.str() != desfire::Upper(desfire::RotateLeftOneByte(rndA.str()))) {
      return Record(LastError(), fail::AuthenticationFailure, op, "DesfireAuthenticate4",
                    "RndA failed");
    }

    const std::string& a = rndA.str();
    const std::string& b = rndB.str();
    desfire::SecretText session;
    // Triple DES: first halves of RndA and RndB, then their second halves; single DES repeats
    // the first halves.
    const std::size_t second_half = kind == kTripleDes ? 8 : 0;
    session.str().append(a, 0, 8).append(b, 0, 8);
    session.str().append(a, second_half, 8).append(b, second_half, 8);
    RememberSecret(session.str());

    crypto::SecureWipe(desfireSessionKey_);
    desfireSessionKey_ = session.str();
    desfireApplicationId_ = appId;
    desfireKeyNumber_ = KeyNumber;
    return sceSuccess;
  });
}

void Encoder::WipeDesfireSession() {
  crypto::SecureWipe(desfireSessionKey_);
}

}  // namespace lumivex
