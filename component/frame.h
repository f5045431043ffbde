// A command's frame filled with the caller's values: the bytes sent to the reader, and the text
// the trace shows of them (hexadecimal, key material as '*').
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "component/bytes.h"
#include "component/command_set.h"

namespace lumivex {

class TraceLog;

// A value for a placeholder of a frame: a number, bytes, or a text whose characters stand for
// hexadecimal digits. A text travels as its digits, whatever they are: a character that is not a
// digit counts as 0 and an odd count shifts what follows by half a byte, so a request or a key
// that is not proper hexadecimal reaches the reader as the host wrote it, for the reader to judge.
struct FrameArg {
  template <std::integral Number>
  FrameArg(Number value)  // NOLINT(google-explicit-constructor): the values read as the table
      : number(static_cast<std::uint32_t>(value)) {}
  FrameArg(ByteView value) : bytes(value) {}      // NOLINT(google-explicit-constructor)
  FrameArg(const Bytes& value) : bytes(value) {}  // NOLINT(google-explicit-constructor)
  FrameArg(const SecretBytes& value)
      : bytes(value.view()) {}  // NOLINT(google-explicit-constructor)
  static FrameArg Text(std::string_view value) {
    FrameArg arg(ByteView{});
    arg.text = value;
    arg.isText = true;
    return arg;
  }

  std::uint32_t number = 0;
  ByteView bytes;
  std::string_view text;
  bool isText = false;
};

struct Frame {
  Bytes bytes;
  std::string shown;  // empty unless asked for
};

// Fills the command's pattern with the values in their order. Key material in the values is
// remembered by the trace, so that later lines mask it too. shown: also write the trace's text.
Frame BuildFrame(const CommandDefinition& definition, std::span<const FrameArg> args,
                 TraceLog& trace, bool shown);

// A raw request as the trace shows it: when it is a reader command that carries a MIFARE key
// (load key, or a read or write with the key inside), the key digits are '*'.
std::string MaskRawKeyFrame(const std::string& request);

}  // namespace lumivex
