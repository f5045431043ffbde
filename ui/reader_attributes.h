// Reader attributes as the test dialog shows them: read with SCardGetAttrib (length first, then
// the value) and turned into text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/pcsc_api.h"

namespace lumivex::ui {

// The attribute's bytes; empty when the reader does not answer it (or the call cannot be made).
std::vector<std::uint8_t> ReadAttribute(PcscApi& pcsc, PcscHandle card, PcscDword attributeId);

// A text attribute: the bytes up to the terminating zero. A value shorter than two bytes is
// empty; a value that lacks its zero is taken whole.
std::string AttributeText(const std::vector<std::uint8_t>& value);

// A version attribute: the first byte, the second byte, and the third and fourth bytes as one
// 16-bit number (third byte low), joined by "." ("2.0.1793" for 02 00 01 07). Missing bytes
// count as 0; an empty value gives an empty text.
std::string AttributeVersion(const std::vector<std::uint8_t>& value);

}  // namespace lumivex::ui
