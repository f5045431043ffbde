// Keys of the selected DESFire application: the enciphered cryptograms of key and settings
// changes, key versions and key settings.
#include <string>
#include <utility>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/desfire/desfire_operation.h"
#include "component/encoder.h"
#include "component/hex.h"
#include "crypto/des.h"

namespace lumivex {

namespace {

constexpr const char* kZeroIv = "00 00 00 00 00 00 00 00";
constexpr std::size_t kBlockDigits = 16;  // one 8-byte cipher block

void Replace(std::string& text, const std::string& placeholder, const std::string& value) {
  for (std::size_t at = text.find(placeholder); at != std::string::npos;
       at = text.find(placeholder, at + value.size())) {
    text.replace(at, placeholder.size(), value);
  }
}

// The keys an operation may name: key 0 alone at the root, keys 0 to 13 in an application.
bool KeyNumberInRange(std::int32_t keyNumber, bool atRoot) {
  return keyNumber >= 0 && keyNumber <= (atRoot ? 0 : 13);
}

// A key of 16 digits becomes the two-key form K K; one of 32 digits stays; anything else fails.
bool NormaliseChangeKey(desfire::SecretText& key) {
  desfire::SecretText copy(key.str());
  if (IsHexString(copy.str(), 16)) {
    key.str() = copy.str();
    key.str() += copy.str();
    return true;
  }
  return IsHexString(key.str(), 32);
}

}  // namespace

std::string Encoder::DESFireEncipher(const std::vector<std::pair<std::string, std::string>>& rows) {
  crypto::DES& des = Des();
  desfire::SecretText plain;
  for (const auto& [rowData, rowTemplate] : rows) {
    const desfire::SecretText data(desfire::RemoveBlanks(rowData));
    desfire::SecretText text(desfire::RemoveBlanks(rowTemplate));
    const std::string crc = desfire::RemoveBlanks(des.CRC16(data.str()));
    Replace(text.str(), "[DATA]", data.str());
    Replace(text.str(), "[CRC]", crc);
    plain.str() += text.str();
  }
  // Zero bytes up to a whole cipher block.
  if (plain.str().size() % kBlockDigits != 0) {
    plain.str().append(kBlockDigits - plain.str().size() % kBlockDigits, '0');
  }

  const std::string& session = desfireSessionKey_;
  const desfire::SecretText k1(session.substr(0, kBlockDigits));
  const desfire::SecretText k2(
      session.size() > kBlockDigits ? session.substr(session.size() - kBlockDigits) : session);
  const crypto::DesAlgorithm kind =
      k1.str() == k2.str() ? crypto::DesAlgorithm::kSingle : crypto::DesAlgorithm::kTriple;
  des.Keys(1, k1.str());
  des.Keys(2, k2.str());
  des.Keys(3, k1.str());
  des.InitVector(kZeroIv);
  // The sending chaining: each block joined to the previous output, then deciphered, which the
  // card's encipher undoes.
  std::string cryptogram = desfire::RemoveBlanks(
      des.Decrypt(plain.str(), crypto::DesModeWord(kind, crypto::DesChaining::kLegacyChain)));
  RememberSecret(cryptogram);
  return cryptogram;
}

sceReturnCode Encoder::DESFireChangeKey(std::int32_t KeyNumber, const std::string& OldKey,
                                        const std::string& NewKey) {
  const std::string op = "DESFireChangeKey";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;
    if (!DESFireIsAuthenticated()) return Record(LastError(), fail::NotAuthenticated, op);
    if (!KeyNumberInRange(KeyNumber, DESFireAtRoot())) {
      return Record(LastError(), fail::BadKeyNumber, op);
    }
    desfire::SecretText oldKey(OldKey);
    desfire::SecretText newKey(NewKey);
    // Both keys are checked, even when the old one will not be used.
    if (!NormaliseChangeKey(oldKey) || !NormaliseChangeKey(newKey)) {
      return Record(LastError(), fail::BadKeyLength, op);
    }
    RememberSecret(oldKey.str());
    RememberSecret(newKey.str());

    std::vector<std::pair<std::string, std::string>> rows;
    if (KeyNumber != desfireKeyNumber_) {
      // Another key: the old and new keys combined, so the card checks that we know the old one.
      auto oldBytes = HexToBytes(oldKey.str());
      auto mixed = HexToBytes(newKey.str());
      for (std::size_t i = 0; i < mixed.size() && i < oldBytes.size(); ++i) mixed[i] ^= oldBytes[i];
      desfire::SecretText xored(BytesToHex(mixed));
      crypto::SecureWipe(mixed.data(), mixed.size());
      crypto::SecureWipe(oldBytes.data(), oldBytes.size());
      RememberSecret(xored.str());
      rows = {{xored.str(), "[DATA][CRC]"}, {newKey.str(), "[CRC]00000000"}};
    } else {
      rows = {{newKey.str(), "[DATA][CRC]000000000000"}};
    }
    const std::string cryptogram = DESFireEncipher(rows);
    for (auto& row : rows) crypto::SecureWipe(row.first);

    // The session stays recorded as it was, even after the authenticated key itself changed:
    // the card has dropped it and a new selection is needed for protected commands.
    return DESFireSendExpectOk(cmd::DesfireChangeKey, {desfire::Hex2(KeyNumber), cryptogram}, op);
  });
}

sceReturnCode Encoder::DESFireGetKeyVersion(std::int32_t KeyNumber, std::int32_t& KeyVersion) {
  const std::string op = "DESFireGetKeyVersion";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;
    if (!DESFireIsAuthenticated()) return Record(LastError(), fail::NotAuthenticated, op);
    if (!KeyNumberInRange(KeyNumber, DESFireAtRoot())) {
      return Record(LastError(), fail::BadKeyNumber, op);
    }
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    const sceReturnCode sent = EncoderCommand(cmd::DesfireGetKeyVersion, {desfire::Hex2(KeyNumber)},
                                              response, statusWord, autoContinue);
    const auto version = desfire::ByteAt(response, 0);
    if (sent != sceSuccess || desfire::Upper(statusWord) != desfire::kSwOk || !version) {
      return Record(LastError(), fail::OperationFailed, op, std::nullopt, statusWord);
    }
    KeyVersion = *version;
    return sceSuccess;
  });
}

sceReturnCode Encoder::DESFireGetKeySettings(std::int32_t& KeySettings, std::int32_t& KeyCount) {
  const std::string op = "DESFireGetKeySettings";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;
    if (!DESFireIsAuthenticated()) return Record(LastError(), fail::NotAuthenticated, op);
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    const sceReturnCode sent =
        EncoderCommand(cmd::DesfireGetKeySettings, {}, response, statusWord, autoContinue);
    const auto settings = desfire::ByteAt(response, 0);
    const auto count = desfire::ByteAt(response, 1);
    if (sent != sceSuccess || desfire::Upper(statusWord) != desfire::kSwOk || !settings || !count) {
      return Record(LastError(), fail::OperationFailed, op, std::nullopt, statusWord);
    }
    KeySettings = *settings;
    KeyCount = *count;
    return sceSuccess;
  });
}

sceReturnCode Encoder::DESFireChangeKeySettings(DesfireKeySettings KeySettings) {
  const std::string op = "DESFireChangeKeySettings";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;
    if (!DESFireIsAuthenticated()) return Record(LastError(), fail::NotAuthenticated, op);
    const std::int32_t settings = KeySettings;
    if (settings < 0 || settings > 255) return Record(LastError(), fail::InvalidParameter, op);
    const std::string cryptogram =
        DESFireEncipher({{desfire::Hex2(settings), "[DATA][CRC]0000000000"}});
    return DESFireSendExpectOk(cmd::DesfireChangeKeySettings, {cryptogram}, op);
  });
}

}  // namespace lumivex
