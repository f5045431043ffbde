#include "component/frame.h"

#include <algorithm>

#include "component/trace_log.h"

namespace lumivex {

namespace {

std::uint8_t NibbleOrZero(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<std::uint8_t>(c - 'a' + 10);
  return 0;
}

// Bytes written half a byte at a time once a text of an odd number of digits came.
class NibbleWriter {
 public:
  explicit NibbleWriter(Bytes& out) : out_(out) {}
  void Byte(std::uint8_t byte) {
    if (!half_) {
      out_.push_back(byte);
      return;
    }
    out_.back() = static_cast<std::uint8_t>(out_.back() | (byte >> 4));
    out_.push_back(static_cast<std::uint8_t>(byte << 4));
  }
  void Nibble(std::uint8_t nibble) {
    if (half_) {
      out_.back() = static_cast<std::uint8_t>(out_.back() | nibble);
    } else {
      out_.push_back(static_cast<std::uint8_t>(nibble << 4));
    }
    half_ = !half_;
  }

 private:
  Bytes& out_;
  bool half_ = false;  // the last byte still waits for its low nibble
};

void AppendShown(std::string& shown, std::uint8_t byte) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  shown += kDigits[byte >> 4];
  shown += kDigits[byte & 0x0F];
}

// The frame's size in bytes, so that it is allocated once.
std::size_t FrameSize(const FramePattern& pattern, std::span<const FrameArg> args) {
  std::size_t size = 0;
  std::size_t next = 0;
  for (std::size_t i = 0; i < pattern.count; ++i) {
    const FramePiece& piece = pattern.pieces.at(i);
    if (piece.kind == FramePiece::Kind::kFixed) {
      ++size;
    } else if (piece.kind == FramePiece::Kind::kNumber) {
      size += piece.value;
      ++next;
    } else if (next < args.size()) {
      const FrameArg& arg = args[next++];
      size += arg.isText ? arg.text.size() / 2 + 1 : arg.bytes.size();
    }
  }
  return size;
}

}  // namespace

Frame BuildFrame(const CommandDefinition& definition, std::span<const FrameArg> args,
                 TraceLog& trace, bool shown) {
  Frame frame;
  frame.bytes.reserve(FrameSize(definition.pattern, args));
  NibbleWriter out(frame.bytes);
  std::size_t next = 0;
  static const FrameArg kNone{ByteView{}};
  for (std::size_t i = 0; i < definition.pattern.count; ++i) {
    const FramePiece& piece = definition.pattern.pieces.at(i);
    if (piece.kind == FramePiece::Kind::kFixed) {
      out.Byte(piece.value);
      if (shown) AppendShown(frame.shown, piece.value);
      continue;
    }
    const FrameArg& arg = next < args.size() ? args[next] : kNone;
    ++next;
    if (piece.kind == FramePiece::Kind::kNumber) {
      for (std::uint8_t k = 0; k < piece.value; ++k) {
        const unsigned shift = 8U * (piece.littleEndian ? k : piece.value - 1U - k);
        const auto byte = static_cast<std::uint8_t>(arg.number >> shift);
        out.Byte(byte);
        if (shown) AppendShown(frame.shown, byte);
      }
      continue;
    }
    if (arg.isText) {
      if (piece.secret) trace.RememberSecret(arg.text);
      for (const char c : arg.text) out.Nibble(NibbleOrZero(c));
      if (shown) frame.shown += piece.secret ? std::string(arg.text.size(), '*') : arg.text;
    } else {
      if (piece.secret) trace.RememberSecret(arg.bytes);
      for (const std::uint8_t byte : arg.bytes) out.Byte(byte);
      if (shown) {
        if (piece.secret) {
          frame.shown.append(2 * arg.bytes.size(), '*');
        } else {
          for (const std::uint8_t byte : arg.bytes) AppendShown(frame.shown, byte);
        }
      }
    }
  }
  if (shown && definition.masksRawKeys) frame.shown = MaskRawKeyFrame(frame.shown);
  return frame;
}

std::string MaskRawKeyFrame(const std::string& request) {
  constexpr std::size_t kHeaderDigits = 10;  // CLA INS P1 P2 Lc
  constexpr std::size_t kKeyDigits = 12;
  const std::size_t size = request.size();
  std::size_t from = size;
  std::size_t to = size;
  if (size <= kHeaderDigits) return request;
  if (request.starts_with("FF82")) {  // FF 82 P1 P2 Lc key
    from = kHeaderDigits;
  } else if (request.starts_with("FFF3")) {  // FF F3 00 bloc 06 key 10
    from = kHeaderDigits;
    to = size - 2;
  } else if (request.starts_with("FFF4")) {  // FF F4 00 bloc length data key
    from = std::max(kHeaderDigits, size - std::min(size, kKeyDigits));
  }
  std::string shown = request;
  if (from < to) shown.replace(from, to - from, to - from, '*');
  return shown;
}

}  // namespace lumivex
