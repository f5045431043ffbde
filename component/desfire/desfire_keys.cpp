#include "component/desfire/desfire_keys.h"

#include <array>

#include "component/desfire/cryptogram.h"
#include "component/desfire/desfire_card.h"
#include "component/hex.h"
#include "crypto/secure_memory.h"

namespace lumivex::desfire {

namespace {

// The keys an operation may name: key 0 alone at the root, keys 0 to 13 in an application.
bool KeyNumberInRange(std::int32_t keyNumber, bool atRoot) {
  return keyNumber >= 0 && keyNumber <= (atRoot ? 0 : 13);
}

// A key of 16 digits becomes the two-key form K K, one of 32 digits stays (normalised in place);
// anything else fails.
bool NormaliseChangeKey(std::string& key) {
  std::string copy = key;
  const WipeOnExit wipe(copy);
  if (IsHexString(copy, 16)) {
    key = copy + copy;
    return true;
  }
  return IsHexString(key, 32);
}

}  // namespace

sceReturnCode Keys::ChangeKey(std::int32_t KeyNumber, const std::string& OldKey,
                              const std::string& NewKey) {
  static constexpr const char* kName = "DESFireChangeKey";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    if (!KeyNumberInRange(KeyNumber, card_.AtRoot())) {
      return card_.Refuse(failure::kBadKeyNumber, kName);
    }
    std::string oldKey = OldKey;
    std::string newKey = NewKey;
    const WipeOnExit wipeOld(oldKey);
    const WipeOnExit wipeNew(newKey);
    // Both keys are checked, even when the old one will not be used.
    if (!NormaliseChangeKey(oldKey) || !NormaliseChangeKey(newKey)) {
      return card_.Refuse(failure::kBadKeyLength, kName);
    }
    TraceLog& trace = card_.reporting().trace;
    trace.RememberSecret(oldKey);
    trace.RememberSecret(newKey);
    const SecretBytes next(HexToBytes(newKey));
    Cryptogram cryptogram;
    if (KeyNumber != card_.keyNumber()) {
      // Another key: the old and new keys combined, so the card checks that we know the old one.
      SecretBytes mixed(next.view());
      const SecretBytes previous(HexToBytes(oldKey));
      for (std::size_t i = 0; i < mixed.size() && i < previous.size(); ++i) {
        mixed.span()[i] ^= previous.view()[i];
      }
      trace.RememberSecret(mixed.view());
      cryptogram.Data(mixed.view()).CrcOf(mixed.view()).CrcOf(next.view()).Zeros(4);
    } else {
      cryptogram.Data(next.view()).CrcOf(next.view()).Zeros(6);
    }
    const Bytes enciphered = card_.Encipher(cryptogram);
    // The session stays recorded as it was, even after the authenticated key itself changed:
    // the card has dropped it and a new selection is needed for protected commands.
    return card_.SendExpectOk(Command::kDesfireChangeKey, {KeyNumber, enciphered}, kName);
  });
}

sceReturnCode Keys::GetKeyVersion(std::int32_t KeyNumber, std::int32_t& KeyVersion) {
  static constexpr const char* kName = "DESFireGetKeyVersion";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    if (!KeyNumberInRange(KeyNumber, card_.AtRoot())) {
      return card_.Refuse(failure::kBadKeyNumber, kName);
    }
    const Reply reply = card_.Send(Command::kDesfireGetKeyVersion, {KeyNumber});
    if (!Card::Answered(reply) || reply.data.empty()) return card_.Fail(reply, kName);
    KeyVersion = reply.data[0];
    return Succeeded();
  });
}

sceReturnCode Keys::GetKeySettings(std::int32_t& KeySettings, std::int32_t& KeyCount) {
  static constexpr const char* kName = "DESFireGetKeySettings";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    const Reply reply = card_.Send(Command::kDesfireGetKeySettings);
    if (!Card::Answered(reply) || reply.data.size() < 2) return card_.Fail(reply, kName);
    KeySettings = reply.data[0];
    KeyCount = reply.data[1];
    return Succeeded();
  });
}

sceReturnCode Keys::ChangeKeySettings(DesfireKeySettings KeySettings) {
  static constexpr const char* kName = "DESFireChangeKeySettings";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    const std::int32_t settings = KeySettings;
    if (settings < 0 || settings > 255) return card_.Refuse(failure::kInvalidParameter, kName);
    const std::array<std::uint8_t, 1> plain{static_cast<std::uint8_t>(settings)};
    Cryptogram cryptogram;
    cryptogram.Data(plain).CrcOf(plain).Zeros(5);
    return card_.SendExpectOk(Command::kDesfireChangeKeySettings, {card_.Encipher(cryptogram)},
                              kName);
  });
}

}  // namespace lumivex::desfire
