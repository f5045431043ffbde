// The simulated DESFire card's authenticated session: the access it gives and the secured data.
#include "sim/desfire/desfire_session.h"

#include <algorithm>

#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

AuthenticatedSession::~AuthenticatedSession() {
  End();
}

void AuthenticatedSession::Begin(std::uint8_t keyNumber, const Key16& sessionKey) {
  established_ = Established{keyNumber, sessionKey};
}

void AuthenticatedSession::End() {
  if (!established_) return;
  crypto::SecureWipe(established_->key.data(), established_->key.size());
  established_.reset();
}

bool AuthenticatedSession::AuthenticatedWith(std::uint8_t keyNumber) const {
  return established_ && established_->keyNumber == keyNumber;
}

CardCipher AuthenticatedSession::Cipher() const {
  return CardCipher(established_->key);
}

Grant AuthenticatedSession::Access(const File& file,
                                   std::initializer_list<std::uint8_t> rights) const {
  const auto any = [&](auto predicate) {
    return std::any_of(rights.begin(), rights.end(), predicate);
  };
  // A free right is always used plain; a key right carries the file's communication settings.
  if (any([](std::uint8_t right) { return right == kRightFree; })) return {kOk, Comm::kPlain};
  if (established_ && any([&](std::uint8_t right) { return right == established_->keyNumber; })) {
    return {kOk, file.comm()};
  }
  if (!any([](std::uint8_t right) { return right != kRightNever; })) {
    return {kPermissionDenied, Comm::kPlain};
  }
  return {kAuthenticationError, Comm::kPlain};
}

Bytes AuthenticatedSession::Secure(Bytes plain, Comm comm) const {
  if (comm == Comm::kMac) {
    const auto mac = Cipher().Mac(plain);
    plain.insert(plain.end(), mac.begin(), mac.end());
  } else if (comm == Comm::kEnciphered) {
    Bytes withCrc = plain;
    AppendCrc16(withCrc, plain);
    Bytes enciphered = Cipher().ToReader(withCrc);
    crypto::SecureWipe(withCrc);
    crypto::SecureWipe(plain);
    return enciphered;
  }
  return plain;
}

Status AuthenticatedSession::Unwrap(Data received, std::size_t length, Comm comm,
                                    Bytes& plain) const {
  if (comm == Comm::kPlain) {
    plain.assign(received.begin(), received.end());
    return kOk;
  }
  if (!established_) return kIntegrityError;
  if (comm == Comm::kMac) {
    plain.assign(received.begin(), received.begin() + static_cast<std::ptrdiff_t>(length));
    const auto mac = Cipher().Mac(plain);
    return std::equal(mac.begin(), mac.end(),
                      received.begin() + static_cast<std::ptrdiff_t>(length))
               ? kOk
               : kIntegrityError;
  }
  Bytes deciphered = Cipher().FromReader(received);
  const auto body = std::span<const std::uint8_t>(deciphered);
  const std::uint16_t crc = Crc16(body.first(length));
  const bool valid = body[length] == (crc & 0xFF) && body[length + 1] == (crc >> 8) &&
                     std::all_of(body.begin() + static_cast<std::ptrdiff_t>(length) + 2, body.end(),
                                 [](std::uint8_t b) { return b == 0; });
  plain.assign(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
  crypto::SecureWipe(deciphered);
  return valid ? kOk : kIntegrityError;
}

}  // namespace lumivex::sim::desfire
