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

void SecretBytes::Append(ByteView bytes) {
  if (bytes.empty()) return;
  const std::size_t size = bytes_.size() + bytes.size();
  if (size > bytes_.capacity()) {
    // Only the first growth reallocates: a larger secret moves once, its old place wiped.
    SecretBytes grown;
    grown.bytes_.reserve(size > kReserve ? size : kReserve);
    grown.bytes_.assign(bytes_.begin(), bytes_.end());
    *this = std::move(grown);
  }
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
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
