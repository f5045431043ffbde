#include "component/command_engine.h"
#include "component/hex.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "component/reader_session.h"
#include "component/texts.h"
#include "platform/pcsc_api.h"

namespace lumivex {

namespace {

constexpr std::string_view kFunction = "EncoderCommand";
constexpr PcscDword kReceiveBufferSize = 4096;
constexpr PcscDword kSendPciLength = 8;
// A card that keeps answering 91AF must not hold the host forever nor fill its memory.
constexpr std::size_t kMaxChainFrames = 1024;
constexpr std::size_t kMaxChainBytes = std::size_t{1024} * 1024;

bool IsSuccess(StatusWord word) {
  return word == sw::kOk || word == sw::kDesfireOk || word == sw::kDesfireOkToo;
}

// The host's raw request: digits and letters kept (small letters as capitals), the rest dropped.
std::string CleanRequest(const std::string& request) {
  std::string cleaned;
  for (const char c : request) {
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) cleaned += c;
    if (c >= 'a' && c <= 'z') {
      cleaned += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
  }
  return cleaned;
}

const char* ResultName(sceReturnCode result) {
  if (result == sceSuccess) return "Success";
  return result == sceError ? "Error" : "Canceled";
}

}  // namespace

Reply CommandEngine::Run(Command command, std::span<const FrameArg> args, Continuation continuation,
                         std::string_view continuing) {
  TraceLog& trace = reporting_.trace;
  const CommandDefinition* definition = &DefinitionOf(command);
  std::string_view commandName = definition->commandName;
  Reply reply;
  PcscLong status = 0;
  const auto sentCommand = [&] { return "SCardTransmit:" + std::string(commandName); };
  // A frame that could not be sent, or that the card refused: no data comes back.
  const auto failed = [&](std::optional<std::string> retCode) {
    reporting_.record.Fail(failure::kCommandFailed, kFunction, sentCommand(), std::move(retCode));
    reply.data.clear();
  };
  try {
    trace.Line("--> EncoderCommand(", definition->traceName, ")");
    if (session_.context() == 0) {
      trace.Line("Error, hContext = 0, encoder is closed");
      reporting_.record.Fail(failure::kEncoderClosed, kFunction);
    } else if (session_.card() == 0) {
      trace.Line("Error, hCard = 0, no card under antenna");
      reporting_.record.Fail(failure::kEncoderEmpty, kFunction);
    } else {
      std::size_t frames = 0;
      Bytes gathered;
      std::array<std::uint8_t, kReceiveBufferSize> buffer{};
      std::span<const FrameArg> values = args;
      for (;;) {
        const PcscIoRequest sendPci{static_cast<PcscDword>(session_.settings().protocol),
                                    kSendPciLength};
        PcscDword receiveLength = kReceiveBufferSize;
        commandName = definition->code == Command::kDesfireSendNextData ? continuing
                                                                        : definition->commandName;
        const Frame frame = BuildFrame(*definition, values, trace, trace.enabled());
        if (definition->code == Command::kContinueResponse) {
          gathered.insert(gathered.end(), reply.data.begin(), reply.data.end());
        }
        if (!definition->sent || frame.bytes.empty()) {
          // Nothing to send: deliberately the call succeeds.
          reply.statusWord = StatusWord();
          reply.result = sceSuccess;
          break;
        }
        trace.Line("Calling SCardTransmit(hCard:=", session_.card(),
                   ", pioSendPci:=[dwProtocol=", sendPci.dwProtocol,
                   ", cbPciLength=", sendPci.cbPciLength, "], pbSendBuffer:= \"", frame.shown,
                   "\", cbSendLength:=", frame.bytes.size(),
                   ", pioRecvPci:=0, pbRecvBuffer, pcbRecvLength:=", receiveLength, ")");
        buffer.fill(0);
        status = pcsc_.Transmit(session_.card(), &sendPci, frame.bytes.data(),
                                static_cast<PcscDword>(frame.bytes.size()), nullptr, buffer.data(),
                                &receiveLength);
        ++frames;
        if (trace.enabled()) trace.Line("Function returned: ", SCardErrorText(ScardNumber(status)));
        if (status != 0) {
          trace.Line("Call failed");
          failed(SCardErrorText(ScardNumber(status)));
          break;
        }
        const std::size_t length = std::min<std::size_t>(receiveLength, kReceiveBufferSize);
        const ByteView answer(buffer.data(), length);
        trace.Line("Received length ... ", length);
        if (trace.enabled()) trace.Line("Received data ..... ", ByteArrayToHex(answer));
        if (length == 0) {
          // Deliberately an empty answer counts as success.
          trace.Line("No status code!");
          reply.data.clear();
          reply.result = sceSuccess;
          break;
        }
        const std::size_t wordLength = std::min<std::size_t>(length, 2);
        reply.data.assign(answer.begin(), answer.end() - static_cast<std::ptrdiff_t>(wordLength));
        reply.statusWord = StatusWord::OfAnswer(answer);
        if (trace.enabled()) {
          const std::string word = reply.statusWord.Hex();
          trace.Line("Status code=\"", word, "\" (", StatusWordText(word), ")");
        }
        if (IsSuccess(reply.statusWord)) {
          reply.data.insert(reply.data.begin(), gathered.begin(), gathered.end());
          reply.result = sceSuccess;
          break;
        }
        if (reply.statusWord == sw::kMoreFrames && continuation == Continuation::kGather) {
          // The card has more to send: ask for it, within bounds.
          if (frames >= kMaxChainFrames || gathered.size() + reply.data.size() >= kMaxChainBytes) {
            trace.Line("Continuation chain too long");
          } else {
            definition = &DefinitionOf(Command::kContinueResponse);
            values = {};
            continue;
          }
        } else if (reply.statusWord == sw::kMoreFrames) {
          // The caller continues the exchange itself; it sees 91AF in the status word.
          reply.result = sceSuccess;
          break;
        }
        failed(reply.statusWord.Hex());
        break;
      }
    }
  } catch (const PcscCallError& error) {
    trace.Line("Error ", error.number(), ": ", error.what(), " [",
               SCardErrorText(ScardNumber(status)), "]");
    reporting_.record.Set({.Number = error.number(),
                           .Description = error.what(),
                           .ComFunction = std::string(kFunction),
                           .RdrCommand = sentCommand(),
                           .RdrRetCode = SCardErrorText(ScardNumber(status))});
    reply.data.clear();
    reply.result = sceError;
  } catch (const std::exception& error) {
    trace.Line("Error: ", error.what());
    failed(std::nullopt);
    reply.result = sceError;
  }
  trace.Line("<-- EncoderCommand returns: ", ResultName(reply.result));
  return reply;
}

sceReturnCode CommandEngine::ReadSerialNumber(std::string& SerialNumber) {
  Operation operation(reporting_, {.name = "ReadSerialNumber"});
  return operation.Run([&] {
    sceReturnCode result = session_.SelectCardInRange();
    Reply reply;
    if (result != sceError) {
      reply = Run(Command::kGetUid);
      result = reply.result;
    }
    SerialNumber = result == sceSuccess ? ByteArrayToHex(reply.data) : "";
    return Finished(result == sceSuccess ? sceSuccess : sceError);
  });
}

Reply CommandEngine::PassThrough(Command command, const std::string& request) {
  Reply reply;
  reply.result = session_.SelectCardInRange();
  if (reply.result != sceError) {
    const std::string cleaned = CleanRequest(request);
    reply = Run(command, {FrameArg::Text(cleaned)});
  }
  return reply;
}

sceReturnCode CommandEngine::Escape(const std::string& Request, std::string& Response) {
  Operation operation(reporting_, {.name = "Escape"});
  return operation.Run([&] {
    const Reply reply = PassThrough(Command::kEscape, Request);
    Response = reply.result == sceError ? "" : ByteArrayToHex(reply.data);
    return Finished(reply.result);
  });
}

sceReturnCode CommandEngine::EscapeExt(const std::string& Request, std::string& Response,
                                       std::string& RetCode) {
  Operation operation(reporting_, {.name = "EscapeExt"});
  return operation.Run([&] {
    const Reply reply = PassThrough(Command::kEscapeExt, Request);
    Response = reply.result == sceError ? "" : ByteArrayToHex(reply.data);
    RetCode = reply.result == sceError ? "" : reply.statusWord.Hex();
    return Finished(reply.result);
  });
}

}  // namespace lumivex
