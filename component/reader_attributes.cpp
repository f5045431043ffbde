// What the reader tells about itself: its attributes (name, vendor, type, version, serial number
// and the card's ATR), read with SCardGetAttrib and shown as ReaderType.
#include <algorithm>
#include <array>

#include "component/hex.h"
#include "component/reader_session.h"
#include "component/texts.h"
#include "platform/code_page.h"

namespace lumivex {

namespace {

constexpr std::size_t kMaxAtrLength = 64;  // an ATR has at most 33 bytes

std::string ScardText(PcscLong result) {
  return SCardErrorText(ScardNumber(result));
}

}  // namespace

std::string ReaderSession::ReaderType() {
  Operation operation(reporting_, {.name = "ReaderType", .traceName = "Get ReaderType"});
  std::string result;
  operation.Run([&] {
    TraceLog& trace = reporting_.trace;
    if (context_ == 0) {
      trace.Line("hContext = 0 ==> Encoder is closed");
      reporting_.record.Set({.Number = failure::kEncoderClosed.number,
                             .Description = failure::kEncoderClosed.description});
      result = failure::kEncoderClosed.description;
    } else if (card_ == 0) {
      trace.Line("hContext <> 0, hCard = 0 ==> Result can be found in Device info");
      result = settings_.device;
    } else {
      trace.Line("hContext <> 0, hCard <> 0 ==> Results can be returned from the encoder");
      struct Line {
        const char* text;
        PcscDword attribute;
        AttributeKind kind;
      };
      static constexpr std::array<Line, 5> kLines{{
          {"Device name: %1", scard::ATTR_DEVICE_FRIENDLY_NAME_A, AttributeKind::kText},
          {"Vendor name: %1", scard::ATTR_VENDOR_NAME, AttributeKind::kText},
          {"Type: %1", scard::ATTR_VENDOR_IFD_TYPE, AttributeKind::kText},
          {"Version: %1", scard::ATTR_VENDOR_IFD_VERSION, AttributeKind::kVersion},
          {"Serial number: %1", scard::ATTR_VENDOR_IFD_SERIAL_NO, AttributeKind::kText},
      }};
      // One line after the other: the attributes are read (and traced) in the order shown.
      for (const Line& line : kLines) {
        result += ReaderGetAttr(line.text, line.attribute, line.kind);
        result += "\r\n";
      }
    }
    return Finished(sceSuccess);
  });
  return result;
}

std::string ReaderSession::ReaderGetAttr(std::string_view pattern, PcscDword attribute,
                                         AttributeKind kind, Bytes* raw) {
  TraceLog& trace = reporting_.trace;
  trace.Line("--> ReaderGetAttr(\"", pattern, "\", ", attribute, ")");
  Bytes bytes;
  try {
    PcscDword length = 0;
    PcscLong status = links_.pcsc.GetAttrib(card_, attribute, nullptr, &length);
    if (status == 0 && length > 0) {
      bytes.resize(length);
      status = links_.pcsc.GetAttrib(card_, attribute, bytes.data(), &length);
      bytes.resize(status == 0 ? std::min<std::size_t>(length, bytes.size()) : 0);
    }
    if (status != 0) trace.Line("SCardGetAttrib returned: ", ScardText(status));
  } catch (const PcscCallError& error) {
    TraceCallError(error, 0);
    bytes.clear();
  }
  std::string value;
  if (kind == AttributeKind::kText) {
    // 8-bit text (the code page) up to the first zero byte, or all of it when there is none.
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    value = links_.codePage.ToText(
        ByteView(bytes.data(), static_cast<std::size_t>(end - bytes.begin())));
  } else if (kind == AttributeKind::kVersion) {
    for (std::size_t i = 0; i < bytes.size() && i < 4; ++i) {
      if (i > 0) value += '.';
      value += std::to_string(bytes[i]);
    }
  }
  std::string result(pattern);
  if (kind != AttributeKind::kRawBytes) {
    for (auto at = result.find("%1"); at != std::string::npos; at = result.find("%1", at)) {
      result.replace(at, 2, value);
      at += value.size();
    }
  }
  trace.Line("<-- ReaderGetAttr returns \"",
             kind == AttributeKind::kRawBytes ? BytesToHex(bytes, 1, -1, true) : result, "\"");
  if (raw != nullptr) *raw = std::move(bytes);
  return result;
}

Bytes ReaderSession::ReadAtr() {
  Bytes atr;
  ReaderGetAttr("%1", scard::ATTR_ATR_STRING, AttributeKind::kRawBytes, &atr);
  if (!atr.empty()) return atr;
  // Some drivers answer no ATR attribute; the card status carries the ATR as well.
  reporting_.trace.Line("Calling SCardStatus");
  atr.resize(kMaxAtrLength);
  try {
    std::string reader;
    PcscDword state = 0;
    PcscDword protocol = 0;
    PcscDword length = kMaxAtrLength;
    const PcscLong status =
        links_.pcsc.Status(card_, &reader, &state, &protocol, atr.data(), &length);
    reporting_.trace.Line("SCardStatus returned: ", ScardText(status));
    atr.resize(status == 0 ? std::min<std::size_t>(length, kMaxAtrLength) : 0);
  } catch (const PcscCallError& error) {
    TraceCallError(error, 0);
    atr.clear();
  }
  return atr;
}

}  // namespace lumivex
