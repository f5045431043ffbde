// Wiping secrets (keys, session keys, random challenges) from memory before it is released.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace lumivex::crypto {

// Overwrites the bytes with zeros in a way the optimiser may not remove.
void SecureWipe(void* data, std::size_t size);
// Zeroes the text's characters (and its spare capacity) and empties it.
void SecureWipe(std::string& text);
void SecureWipe(std::vector<unsigned char>& bytes);

}  // namespace lumivex::crypto
