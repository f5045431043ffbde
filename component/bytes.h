// Bytes inside the component: frames, answers, keys and cryptograms travel as bytes, and become
// hexadecimal text (component/hex.h) only where a text leaves the component: the host's outputs,
// the error record, the trace.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace lumivex {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// Key material (keys, random challenges, session keys, cryptograms): wiped when it goes away.
// Room is reserved on the first byte so that growing it leaves no copy behind in freed memory.
class SecretBytes {
 public:
  SecretBytes() = default;
  explicit SecretBytes(ByteView bytes) { Append(bytes); }
  ~SecretBytes();
  SecretBytes(const SecretBytes& other) : SecretBytes(other.view()) {}
  SecretBytes& operator=(const SecretBytes& other);
  // Moving hands the storage over: no copy of the bytes is left behind.
  SecretBytes(SecretBytes&&) noexcept = default;
  SecretBytes& operator=(SecretBytes&& other) noexcept;

  void Append(ByteView bytes);
  void Assign(ByteView bytes);
  void Wipe();

  [[nodiscard]] ByteView view() const { return bytes_; }
  [[nodiscard]] std::span<std::uint8_t> span() { return bytes_; }
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] bool empty() const { return bytes_.empty(); }
  [[nodiscard]] bool operator==(const SecretBytes& other) const { return bytes_ == other.bytes_; }

 private:
  static constexpr std::size_t kReserve = 64;  // every key and cryptogram fits
  Bytes bytes_;
};

// Wipes a text that holds key material (a key as the host wrote it, a sector trailer) when the
// scope that uses it ends.
class WipeOnExit {
 public:
  explicit WipeOnExit(std::string& text) : text_(text) {}
  ~WipeOnExit();
  WipeOnExit(const WipeOnExit&) = delete;
  WipeOnExit& operator=(const WipeOnExit&) = delete;

 private:
  std::string& text_;
};

}  // namespace lumivex
