// The reader session: the PC/SC context and card connection of an Encoder, opened by OpenEncoder,
// renewed before each card operation by SelectCardInRange, released by CloseEncoder.
#include <algorithm>
#include <array>
#include <cctype>

#include "component/card_identification.h"
#include "component/encoder.h"
#include "component/error_codes.h"
#include "component/hex.h"
#include "component/texts.h"
#include "platform/code_page.h"
#include "platform/host.h"

namespace lumivex {

namespace {

constexpr std::size_t kMaxAtrLength = 64;  // an ATR has at most 33 bytes

// The trace of a getter that reports a number: "--> Get <name>", "<label><value>",
// "<-- Get <name>". A trace that fails is dropped: the getter still answers.
template <typename TraceLine>
void TraceNumberGetter(TraceLine&& trace, const char* name, const char* label,
                       std::int32_t value) noexcept {
  try {
    trace(std::string("--> Get ") + name);
    trace(label + std::to_string(value));
    trace(std::string("<-- Get ") + name);
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may reach the host
  }
}

std::string ScardText(PcscLong result) {
  return SCardErrorText(ScardNumber(result));
}

bool IsNoCard(PcscLong result) {
  switch (ScardCode(result)) {
    case scard::E_NO_SMARTCARD:
    case scard::E_UNKNOWN_CARD:
    case scard::E_CARD_UNSUPPORTED:
    case scard::W_REMOVED_CARD:
      return true;
    default:
      return false;
  }
}

// The trace line of a PC/SC call that could not be made at all.
std::string CallErrorLine(const PcscCallError& error, PcscLong lastResult) {
  return "Error " + std::to_string(error.number()) + ": " + error.what() + " [" +
         ScardText(lastResult) + "]";
}

std::string TrimUpper(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  std::string result = text.substr(first, text.find_last_not_of(' ') - first + 1);
  for (char& c : result) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return result;
}

}  // namespace

sceReturnCode Encoder::OpenEncoder(std::int32_t Handle) {
  try {
    const sceReturnCode result = OpenEncoderCore(Handle, true);
    FinishLastError("OpenEncoder");
    return result;
  } catch (...) {
    return sceError;
  }
}

// Connects the card exclusively with the preferred protocol and traces the call; a failed
// connect never leaves a handle behind.
PcscLong Encoder::ConnectCard() {
  PcscHandle card = 0;
  PcscDword active = 0;
  const PcscLong status =
      platform_.pcsc->Connect(hContext_, device_, scard::SHARE_EXCLUSIVE,
                              static_cast<PcscDword>(protocol_), &card, &active);
  hCard_ = status == 0 ? card : 0;
  activeProtocol_ = active;
  Trace("Called SCardConnect(" + std::to_string(hContext_) + ", \"" + device_ +
        "\", SCARD_SHARE_EXCLUSIVE, " + std::to_string(protocol_) + ", " + std::to_string(hCard_) +
        ", " + std::to_string(activeProtocol_) + ")");
  Trace("SCardConnect returned: " + ScardText(status));
  return status;
}

sceReturnCode Encoder::OpenEncoderCore(std::int32_t Handle, bool ReportFailure) {
  Trace("--> OpenEncoder(" + std::to_string(Handle) + ", " + (ReportFailure ? "True" : "False") +
        ")");
  sceReturnCode result = sceSuccess;
  int attempts = 0;
  PcscLong status = 0;
  const char* call = "SCardEstablishContext";
  try {
    while (attempts < 2) {
      ClearLastError();
      LetATRString("");
      if (hContext_ == 0) {
        Trace("Calling SCardEstablishContext");
        call = "SCardEstablishContext";
        PcscContext context = 0;
        status = platform_.pcsc->EstablishContext(scard::SCOPE_SYSTEM, &context);
        hContext_ = context;
        Trace("SCardEstablishContext returned: " + ScardText(status));
        if (status != 0) {
          CloseEncoderQuietly();
          SetLastError({.Number = err::kCannotEstablish,
                        .Description = "Cannot open encoder",
                        .LastDllError = ScardNumber(status),
                        .ComFunction = "OpenEncoder",
                        .RdrCommand = "SCardEstablishContext",
                        .RdrRetCode = ScardText(status)});
          Trace("<-- OpenEncoder");
          return sceError;
        }
      }
      Trace("Calling SCardConnect...");
      call = "SCardConnect";
      status = ConnectCard();
      if (status == 0) {
        LetATRString(BytesToHex(ReadAtr(), 1, -1, true));
        attempts = 2;
      } else if (IsNoCard(status)) {
        // Deliberately an empty reader still counts as opened; LastError tells the host.
        SetLastError({.Number = err::kEncoderEmpty,
                      .Description = "No card in encoder",
                      .RdrCommand = "SCardConnect",
                      .RdrRetCode = ScardText(status)});
        attempts = 2;
      } else if (ScardCode(status) == scard::E_SHARING_VIOLATION) {
        ++attempts;
        CloseEncoderQuietly();
      } else {
        SetLastError({.Number = err::kCannotConnect,
                      .Description = "Cannot open encoder",
                      .RdrCommand = "SCardConnect",
                      .RdrRetCode = ScardText(status)});
        if (ReportFailure) {
          result = sceError;
          CloseEncoderQuietly();
        }
        attempts = 2;
      }
      // The host's message queue keeps running meanwhile: host calls may re-enter here.
      platform_.host->WaitPumpingMessages(openWait_);
    }
  } catch (const PcscCallError& error) {
    Trace(CallErrorLine(error, status));
    SetLastError({.Number = error.number(),
                  .Description = error.what(),
                  .ComFunction = "OpenEncoder",
                  .RdrCommand = call,
                  .RdrRetCode = ScardText(status)});
    CloseEncoderQuietly();
    result = sceError;
  }
  Trace("<-- OpenEncoder");
  return result;
}

void Encoder::ReOpenEncoder() {
  CloseEncoder();
  OpenEncoder(0);
}

sceReturnCode Encoder::CloseEncoder() {
  try {
    Trace("--> CloseEncoder");
    ClearLastError();
    PcscLong status = 0;
    const char* step = "CloseReader";
    try {
      if (hCard_ != 0) {
        Trace("hCard <> 0, calling SCardDisconnect");
        status = platform_.pcsc->Disconnect(hCard_, scard::LEAVE_CARD);
        Trace("SCardDisconnect returned: " + ScardText(status));
        hCard_ = 0;
      }
      if (hContext_ != 0) {
        step = "CloseComm";
        Trace("hContext <> 0, calling SCardReleaseContext");
        status = platform_.pcsc->ReleaseContext(hContext_);
        Trace("SCardReleaseContext returned: " + ScardText(status));
        hContext_ = 0;
      }
    } catch (const PcscCallError& error) {
      // The call could not be made: the handle it concerned stays as it was.
      Trace(CallErrorLine(error, status));
      SetLastError({.Number = error.number(),
                    .Description = error.what(),
                    .ComFunction = "CloseEncoder",
                    .RdrCommand = step,
                    .RdrRetCode = ScardText(status)});
      Trace("<-- CloseEncoder");
      return sceError;
    }
    FinishLastError("CloseEncoder");
    Trace("<-- CloseEncoder");
    return sceSuccess;
  } catch (...) {
    return sceError;
  }
}

void Encoder::CloseEncoderQuietly() {
  Trace("--> CloseEncoderQuietly");
  // Both calls are made even for a handle that is already 0; results are only traced.
  try {
    Trace("SCardDisconnect returned: " +
          ScardText(platform_.pcsc->Disconnect(hCard_, scard::LEAVE_CARD)));
  } catch (const PcscCallError& error) {
    Trace(CallErrorLine(error, 0));
  }
  hCard_ = 0;
  try {
    Trace("SCardReleaseContext returned: " + ScardText(platform_.pcsc->ReleaseContext(hContext_)));
  } catch (const PcscCallError& error) {
    Trace(CallErrorLine(error, 0));
  }
  hContext_ = 0;
  Trace("<-- CloseEncoderQuietly");
}

sceReturnCode Encoder::SelectCardInRange() {
  Trace("--> SelectCardInRange");
  LetATRString("");
  if (hContext_ == 0) {
    Trace("hContext = 0, encoder is closed");
    SetLastError({.Number = err::kEncoderClosed,
                  .Description = "Encoder is closed",
                  .ComFunction = "SelectCardInRange"});
    Trace("<-- SelectCardInRange");
    return sceError;
  }
  sceReturnCode result = sceSuccess;
  PcscLong status = 0;
  try {
    if (hCard_ != 0) {
      if (!forceReconnect_) {
        // The identification cleared above is deliberately not read again.
        Trace("hCard <> 0, card is connected");
        Trace("<-- SelectCardInRange");
        return sceSuccess;
      }
      Trace("hCard <> 0, card is connected, disconnecting");
      status = platform_.pcsc->Disconnect(hCard_, scard::LEAVE_CARD);
      Trace("SCardDisconnect returned: " + ScardText(status));
      hCard_ = 0;
    }
    Trace("Connecting card");
    status = ConnectCard();
    if (status == 0) {
      LetATRString(BytesToHex(ReadAtr(), 1, -1, true));
    } else {
      const bool noCard = IsNoCard(status);
      SetLastError({.Number = noCard ? err::kEncoderEmpty : err::kCannotConnect,
                    .Description = noCard ? "No card in encoder" : "Cannot open encoder",
                    .RdrCommand = "SCardConnect",
                    .RdrRetCode = ScardText(status)});
      Trace("SCardDisconnect returned: " +
            ScardText(platform_.pcsc->Disconnect(hCard_, scard::LEAVE_CARD)));
      hCard_ = 0;
      result = sceError;
    }
  } catch (const PcscCallError& error) {
    Trace(CallErrorLine(error, status));
    SetLastError({.Number = error.number(), .Description = error.what()});
    CloseEncoderQuietly();
    result = sceError;
  }
  Trace("<-- SelectCardInRange");
  return result;
}

sceEncoderState Encoder::EncoderState() {
  try {
    Trace("--> Get EncoderState");
    ClearLastError();
    sceEncoderState state = sceReady;
    if (hContext_ == 0) {
      Trace("hContext = 0 ==> Encoder is closed");
      state = sceClosed;
    } else if (SelectCardInRange() != sceError) {
      Trace(
          "SelectCardInRange() returned okay ==> Encoder is opened and a card is under the "
          "antenna");
    } else if (LastError().Number() == err::kEncoderEmpty) {
      Trace(
          "SelectCardInRange() returned RC_ERROR_ENCODER_EMPTY ==> Encoder is opened, but no card "
          "is under the antenna");
      state = sceOpened;
    } else {
      // Kept as is: any failure other than an empty reader still reports ready.
      Trace("SelectCardInRange() returned " + std::to_string(LastError().Number()) +
            " ==> Encoder should be opened and a card should be under the antenna");
    }
    FinishLastError("EncoderState");
    Trace("<-- Get EncoderState");
    return state;
  } catch (...) {
    return sceUnknown;
  }
}

std::string Encoder::ReaderType() {
  try {
    Trace("--> Get ReaderType");
    ClearLastError();
    std::string result;
    if (hContext_ == 0) {
      Trace("hContext = 0 ==> Encoder is closed");
      SetLastError({.Number = err::kEncoderClosed, .Description = "Encoder is closed"});
      result = "Encoder is closed";
    } else if (hCard_ == 0) {
      Trace("hContext <> 0, hCard = 0 ==> Result can be found in Device info");
      result = device_;
    } else {
      Trace("hContext <> 0, hCard <> 0 ==> Results can be returned from the encoder");
      // One statement a line: the attributes are read (and traced) in the order they are shown.
      struct Line {
        const char* text;
        PcscDword attribute;
        int kind;
      };
      static constexpr std::array<Line, 5> kLines{{
          {"Device name: %1", scard::ATTR_DEVICE_FRIENDLY_NAME_A, 1},
          {"Vendor name: %1", scard::ATTR_VENDOR_NAME, 1},
          {"Type: %1", scard::ATTR_VENDOR_IFD_TYPE, 1},
          {"Version: %1", scard::ATTR_VENDOR_IFD_VERSION, 0},
          {"Serial number: %1", scard::ATTR_VENDOR_IFD_SERIAL_NO, 1},
      }};
      for (const Line& line : kLines) {
        result += ReaderGetAttr(line.text, line.attribute, line.kind);
        result += "\r\n";
      }
    }
    FinishLastError("ReaderType");
    Trace("<-- Get ReaderType");
    return result;
  } catch (...) {
    return "";
  }
}

std::string Encoder::ReaderGetAttr(const std::string& Template, PcscDword AttributeId, int Kind) {
  Trace("--> ReaderGetAttr(\"" + Template + "\", " + std::to_string(AttributeId) + ")");
  std::vector<std::uint8_t> bytes;
  try {
    PcscDword length = 0;
    PcscLong status = platform_.pcsc->GetAttrib(hCard_, AttributeId, nullptr, &length);
    if (status == 0 && length > 0) {
      bytes.resize(length);
      status = platform_.pcsc->GetAttrib(hCard_, AttributeId, bytes.data(), &length);
      bytes.resize(status == 0 ? std::min<std::size_t>(length, bytes.size()) : 0);
    }
    if (status != 0) Trace("SCardGetAttrib returned: " + ScardText(status));
  } catch (const PcscCallError& error) {
    Trace(CallErrorLine(error, 0));
    bytes.clear();
  }
  std::string value;
  if (Kind == 1) {
    // 8-bit text (the code page) up to the first zero byte (or all of it when the driver sent
    // none).
    const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    value = platform_.codePage->ToText(
        std::span<const std::uint8_t>(bytes.data(), static_cast<std::size_t>(end - bytes.begin())));
  } else if (Kind == 0) {
    for (std::size_t i = 0; i < bytes.size() && i < 4; ++i) {
      if (i > 0) value += '.';
      value += std::to_string(bytes[i]);
    }
  } else if (Kind == 3) {
    value.assign(bytes.begin(), bytes.end());  // raw bytes, one char each
  }
  std::string result = Template;
  for (auto at = result.find("%1"); at != std::string::npos; at = result.find("%1", at)) {
    result.replace(at, 2, value);
    at += value.size();
  }
  Trace("<-- ReaderGetAttr returns \"" + (Kind == 3 ? BytesToHex(bytes, 1, -1, true) : result) +
        "\"");
  return result;
}

std::vector<std::uint8_t> Encoder::ReadAtr() {
  const std::string raw = ReaderGetAttr("%1", scard::ATTR_ATR_STRING, 3);
  if (!raw.empty()) return {raw.begin(), raw.end()};
  // Some drivers answer no ATR attribute; the card status carries the ATR as well.
  Trace("Calling SCardStatus");
  std::vector<std::uint8_t> atr(kMaxAtrLength);
  try {
    std::string reader;
    PcscDword state = 0;
    PcscDword protocol = 0;
    PcscDword length = kMaxAtrLength;
    const PcscLong status =
        platform_.pcsc->Status(hCard_, &reader, &state, &protocol, atr.data(), &length);
    Trace("SCardStatus returned: " + ScardText(status));
    atr.resize(status == 0 ? std::min<std::size_t>(length, kMaxAtrLength) : 0);
  } catch (const PcscCallError& error) {
    Trace(CallErrorLine(error, 0));
    atr.clear();
  }
  return atr;
}

void Encoder::LetATRString(const std::string& atr) {
  Trace("--> Let ATRString");
  atrString_ = TrimUpper(atr);
  CardIdentification id;
  try {
    id = IdentifyCard(atrString_, serialNumberLength_, platform_.registry.get(), *platform_.host,
                      *platform_.codePage);
  } catch (const std::exception&) {
    // The card list is the host's: when it cannot be read the card is simply unknown.
    id.serialNumberLength = atrString_.empty() ? -1 : serialNumberLength_;
  }
  cardType_ = id.cardType;
  serialNumberLength_ = id.serialNumberLength;
  Trace("<-- Let ATRString");
}

std::string Encoder::ATRString() {
  try {
    Trace("--> Get ATRString");
    Trace("<-- Get ATRString");
    return atrString_;
  } catch (...) {
    return "";
  }
}

std::int32_t Encoder::CardType() {
  TraceNumberGetter([this](const std::string& line) { Trace(line); }, "CardType", "Card type is ",
                    cardType_);
  return cardType_;
}

std::int32_t Encoder::SerialNumberLength() {
  TraceNumberGetter([this](const std::string& line) { Trace(line); }, "SerialNumberLength",
                    "Serial Number length is ", serialNumberLength_);
  return serialNumberLength_;
}

sceReturnCode Encoder::ReadSerialNumber(std::string& SerialNumber) {
  try {
    Trace("--> ReadSerialNumber");
    ClearLastError();
    sceReturnCode result = SelectCardInRange();
    std::string response;
    if (result != sceError) {
      std::string statusWord;
      bool autoContinue = false;
      result = EncoderCommand(cmd::GetUID, {}, response, statusWord, autoContinue);
    }
    SerialNumber = result == sceSuccess ? response : "";
    if (result != sceSuccess) result = sceError;
    FinishLastError("ReadSerialNumber");
    Trace("<-- ReadSerialNumber");
    return result;
  } catch (...) {
    SerialNumber = "";
    return sceError;
  }
}

}  // namespace lumivex
