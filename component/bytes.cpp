#include "component/bytes.h"

#include "crypto/secure_memory.h"

namespace lumivex {

SecretBytes::~SecretBytes() {
  Wipe();
}

SecretBytes& SecretBytes::operator=(const SecretBytes& other) {
  if (this != &other) Assign(other.view());
  return *this;
}

SecretBytes& SecretBytes::operator=(SecretBytes&& other) noexcept {
  if (this != &other) {
    Wipe();
    bytes_ = std::move(other.bytes_);
  }
  return *this;
}

void SecretBytes::Assign(ByteView bytes) {
  Wipe();
  Append(bytes);
}

WipeOnExit::~WipeOnExit() {
  crypto::SecureWipe(text_);
}

void SecretBytes::Wipe() {
  crypto::SecureWipe(bytes_);
}

}  // namespace lumivex
