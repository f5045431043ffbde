// The simulated DESFire card: native authentication (0A), key changes and key settings.
#include "sim/desfire/desfire_keys.h"

#include <algorithm>

#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

namespace {

using Block = std::array<std::uint8_t, 8>;

constexpr std::uint8_t kChangeKeyWithItself = 0x0E;
constexpr std::uint8_t kChangeKeyFrozen = 0x0F;

Block RotateLeft(const Block& block) {
  Block rotated{};
  std::rotate_copy(block.begin(), block.begin() + 1, block.end(), rotated.begin());
  return rotated;
}

bool CrcMatches(std::span<const std::uint8_t> data, std::span<const std::uint8_t> crc) {
  const std::uint16_t expected = Crc16(data);
  return crc[0] == (expected & 0xFF) && crc[1] == (expected >> 8);
}

bool AllZero(std::span<const std::uint8_t> bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; });
}

template <std::size_t N>
void Wipe(std::array<std::uint8_t, N>& bytes) {
  crypto::SecureWipe(bytes.data(), bytes.size());
}

}  // namespace

Reply KeyCommands::Authenticate(Data data) {
  if (data.size() != 1) return {kLengthError, {}};
  state_.session.End();  // a new authentication always ends the current one
  const std::uint8_t keyNumber = data[0];
  const std::vector<StoredKey>& keys = state_.CurrentKeys();
  if (keyNumber >= keys.size()) return {kNoSuchKey, {}};

  PendingAuthentication pending;
  pending.keyNumber = keyNumber;
  pending.key = keys[keyNumber].value;
  std::uniform_int_distribution<int> byte(0, 255);
  for (auto& b : pending.rndB) b = static_cast<std::uint8_t>(byte(state_.random));
  Bytes challenge = CardCipher(pending.key).ToReader(pending.rndB);
  state_.exchanges.authentication = pending;
  Wipe(pending.key);
  Wipe(pending.rndB);
  return {kAdditionalFrame, std::move(challenge)};
}

Reply KeyCommands::FinishAuthentication(Data data) {
  PendingAuthentication pending = *state_.exchanges.authentication;
  state_.exchanges.Abandon();
  Reply reply{kAuthenticationError, {}};
  if (data.size() != 16) {
    reply.status = kLengthError;
  } else {
    const CardCipher cipher(pending.key);
    Bytes plain = cipher.FromReader(data);
    Block rndA{};
    Block rndBRotated{};
    std::copy_n(plain.begin(), 8, rndA.begin());
    std::copy_n(plain.begin() + 8, 8, rndBRotated.begin());
    crypto::SecureWipe(plain);
    if (rndBRotated == RotateLeft(pending.rndB)) {
      state_.session.Begin(pending.keyNumber,
                           SessionKey(rndA, pending.rndB, IsSingleDes(pending.key)));
      Block rndARotated = RotateLeft(rndA);
      reply = {kOk, cipher.ToReader(rndARotated)};
      Wipe(rndARotated);
    }
    Wipe(rndA);
    Wipe(rndBRotated);
  }
  Wipe(pending.key);
  Wipe(pending.rndB);
  return reply;
}

Reply KeyCommands::ChangeKey(Data data) {
  if (data.size() != 25) return {kLengthError, {}};
  const std::uint8_t keyNumber = data[0];
  // At card level the high bits choose the master key's cipher: only DES and 2K3DES are here.
  if (state_.AtPiccLevel() && (keyNumber & 0xC0) != 0) return {kParameterError, {}};
  std::vector<StoredKey>& keys = state_.CurrentKeys();
  if (keyNumber >= keys.size()) return {kNoSuchKey, {}};
  if (!state_.session.active()) return {kAuthenticationError, {}};

  const std::uint8_t settings = state_.CurrentSettings();
  if (keyNumber == 0) {
    if (!state_.session.AuthenticatedWith(0)) return {kAuthenticationError, {}};
    if ((settings & kMasterKeyChangeable) == 0) return {kPermissionDenied, {}};
  } else {
    const std::uint8_t changeKey = settings >> 4;
    if (changeKey == kChangeKeyFrozen) return {kPermissionDenied, {}};
    const std::uint8_t required = changeKey == kChangeKeyWithItself ? keyNumber : changeKey;
    if (!state_.session.AuthenticatedWith(required)) return {kAuthenticationError, {}};
  }

  Bytes plain = state_.session.Cipher().FromReader(data.subspan(1));
  const auto body = std::span<const std::uint8_t>(plain);
  Key16 newKey{};
  bool valid = false;
  if (keyNumber == state_.session.keyNumber()) {
    // Changing the key of the session: new key, its CRC, six zero bytes.
    std::copy_n(plain.begin(), 16, newKey.begin());
    valid = CrcMatches(body.first(16), body.subspan(16, 2)) && AllZero(body.subspan(18));
  } else {
    // Another key: (old XOR new), its CRC, the new key's CRC, four zero bytes.
    const Key16& old = keys[keyNumber].value;
    for (std::size_t i = 0; i < newKey.size(); ++i) {
      newKey[i] = static_cast<std::uint8_t>(plain[i] ^ old[i]);
    }
    valid = CrcMatches(body.first(16), body.subspan(16, 2)) &&
            CrcMatches(newKey, body.subspan(18, 2)) && AllZero(body.subspan(20));
  }
  crypto::SecureWipe(plain);
  if (!valid) {
    Wipe(newKey);
    return {kIntegrityError, {}};
  }
  keys[keyNumber].value = newKey;
  keys[keyNumber].version = KeyVersionOf(newKey);
  Wipe(newKey);
  if (keyNumber == state_.session.keyNumber()) state_.session.End();
  return {kOk, {}};
}

Reply KeyCommands::ChangeKeySettings(Data data) {
  if (data.size() != 8) return {kLengthError, {}};
  if (!state_.session.AuthenticatedWith(0)) return {kAuthenticationError, {}};
  std::uint8_t& settings = state_.CurrentSettings();
  if ((settings & kConfigurationChangeable) == 0) return {kPermissionDenied, {}};
  Bytes plain = state_.session.Cipher().FromReader(data);
  const auto body = std::span<const std::uint8_t>(plain);
  const bool valid = CrcMatches(body.first(1), body.subspan(1, 2)) && AllZero(body.subspan(3));
  const std::uint8_t newSettings = plain[0];
  crypto::SecureWipe(plain);
  if (!valid) return {kIntegrityError, {}};
  // The card master key settings have no change-key field: their high nibble stays zero.
  if (state_.AtPiccLevel() && (newSettings & 0xF0) != 0) return {kParameterError, {}};
  settings = newSettings;
  return {kOk, {}};
}

Reply KeyCommands::GetKeySettings(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  const std::uint8_t settings = state_.CurrentSettings();
  if ((settings & kFreeDirectoryAccess) == 0 && !state_.session.AuthenticatedWith(0)) {
    return {kAuthenticationError, {}};
  }
  return {kOk, {settings, static_cast<std::uint8_t>(state_.CurrentKeys().size())}};
}

Reply KeyCommands::GetKeyVersion(Data data) {
  if (data.size() != 1) return {kLengthError, {}};
  const std::vector<StoredKey>& keys = state_.CurrentKeys();
  const std::uint8_t keyNumber = state_.AtPiccLevel() ? data[0] & 0x3F : data[0];
  if (keyNumber >= keys.size()) return {kNoSuchKey, {}};
  return {kOk, {keys[keyNumber].version}};
}

}  // namespace lumivex::sim::desfire
