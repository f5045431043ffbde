#include "crypto/secure_memory.h"

namespace lumivex::crypto {

void SecureWipe(void* data, std::size_t size) {
  // Writes through a volatile pointer are kept by the optimiser even when the memory dies next.
  auto* p = static_cast<volatile unsigned char*>(data);
  for (std::size_t i = 0; i < size; ++i) p[i] = 0;
}

void SecureWipe(std::string& text) {
  text.resize(text.capacity());
  SecureWipe(text.data(), text.size());
  text.clear();
}

void SecureWipe(std::vector<unsigned char>& bytes) {
  bytes.resize(bytes.capacity());
  SecureWipe(bytes.data(), bytes.size());
  bytes.clear();
}

}  // namespace lumivex::crypto
