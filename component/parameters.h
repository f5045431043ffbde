// The Parameters text through which the host configures an Encoder: items "key=value" separated
// by CR LF (or by ";" when the text has no CR LF), of which Device, Protocol and force_reconnect
// are read; every other key is ignored without a message.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lumivex {

struct EncoderSettings {
  std::string device = "<unknown>";  // the PC/SC reader, passed to SCardConnect as it is
  std::int32_t protocol = 1;         // preferred protocols: 1 = T=0, 2 = T=1
  bool forceReconnect = true;        // every card operation connects the card again
};

// The text applied at construction (its capability line deliberately without DESFire).
inline constexpr std::string_view kDefaultParameters =
    "Encoding capabilities=Mifare Classic, Mifare Ultralight\r\n"
    "Device=<unknown>\r\n"
    "Protocol=1\r\n"
    "force_reconnect=1";

// Applies the items of a text; keys that are absent leave their field unchanged, a later item
// overrides an earlier one. No text is refused.
void ApplyParameters(std::string_view text, EncoderSettings& settings);
// The text the host reads back.
std::string ParametersText(const EncoderSettings& settings);

}  // namespace lumivex
