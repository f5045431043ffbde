#include "component/reader_session.h"
#include "component/hex.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "component/card_identification.h"
#include "component/texts.h"
#include "platform/code_page.h"
#include "platform/host.h"

namespace lumivex {

namespace {

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

std::string TrimUpper(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  std::string result(text.substr(first, text.find_last_not_of(' ') - first + 1));
  for (char& c : result) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return result;
}

}  // namespace

ReaderSession::~ReaderSession() {
  try {
    if (card_ != 0) links_.pcsc.Disconnect(card_, scard::LEAVE_CARD);
    if (context_ != 0) links_.pcsc.ReleaseContext(context_);
  } catch (...) {  // NOLINT(bugprone-empty-catch): the handles go with the object
  }
}

void ReaderSession::TraceCallError(const PcscCallError& error, PcscLong lastResult) {
  reporting_.trace.Line("Error ", error.number(), ": ", error.what(), " [", ScardText(lastResult),
                        "]");
}

sceReturnCode ReaderSession::OpenEncoder(std::int32_t Handle) {
  // The open routine writes its own trace lines and clears the record at each attempt.
  Operation operation(reporting_, {.name = "OpenEncoder", .traced = false, .clearOnEntry = false});
  return operation.Run([&] { return Finished(Open(Handle, true)); });
}

PcscLong ReaderSession::Connect() {
  PcscHandle card = 0;
  PcscDword active = 0;
  const PcscLong status =
      links_.pcsc.Connect(context_, settings_.device, scard::SHARE_EXCLUSIVE,
                          static_cast<PcscDword>(settings_.protocol), &card, &active);
  card_ = status == 0 ? card : 0;  // a failed connect never leaves a handle behind
  activeProtocol_ = active;
  reporting_.trace.Line("Called SCardConnect(", context_, ", \"", settings_.device,
                        "\", SCARD_SHARE_EXCLUSIVE, ", settings_.protocol, ", ", card_, ", ",
                        activeProtocol_, ")");
  reporting_.trace.Line("SCardConnect returned: ", ScardText(status));
  return status;
}

sceReturnCode ReaderSession::Open(std::int32_t handle, bool reportFailure) {
  TraceLog& trace = reporting_.trace;
  ErrorRecord& record = reporting_.record;
  trace.Line("--> OpenEncoder(", handle, ", ", reportFailure ? "True" : "False", ")");
  sceReturnCode result = sceSuccess;
  int attempts = 0;
  PcscLong status = 0;
  const char* call = "SCardEstablishContext";
  try {
    while (attempts < 2) {
      record.Clear();
      Identify("");
      if (context_ == 0) {
        trace.Line("Calling SCardEstablishContext");
        call = "SCardEstablishContext";
        PcscContext context = 0;
        status = links_.pcsc.EstablishContext(scard::SCOPE_SYSTEM, &context);
        context_ = context;
        trace.Line("SCardEstablishContext returned: ", ScardText(status));
        if (status != 0) {
          CloseQuietly();
          record.Set({.Number = failure::kCannotEstablish.number,
                      .Description = failure::kCannotEstablish.description,
                      .LastDllError = ScardNumber(status),
                      .ComFunction = "OpenEncoder",
                      .RdrCommand = "SCardEstablishContext",
                      .RdrRetCode = ScardText(status)});
          trace.Line("<-- OpenEncoder");
          return sceError;
        }
      }
      trace.Line("Calling SCardConnect...");
      call = "SCardConnect";
      status = Connect();
      if (status == 0) {
        Identify(BytesToHex(ReadAtr(), 1, -1, true));
        attempts = 2;
      } else if (IsNoCard(status)) {
        // Deliberately an empty reader still counts as opened; the record tells the host.
        record.Set({.Number = failure::kEncoderEmpty.number,
                    .Description = failure::kEncoderEmpty.description,
                    .RdrCommand = "SCardConnect",
                    .RdrRetCode = ScardText(status)});
        attempts = 2;
      } else if (ScardCode(status) == scard::E_SHARING_VIOLATION) {
        ++attempts;
        CloseQuietly();
      } else {
        record.Set({.Number = failure::kCannotConnect.number,
                    .Description = failure::kCannotConnect.description,
                    .RdrCommand = "SCardConnect",
                    .RdrRetCode = ScardText(status)});
        if (reportFailure) {
          result = sceError;
          CloseQuietly();
        }
        attempts = 2;
      }
      // The host's message queue keeps running meanwhile: host calls may re-enter here.
      links_.host.WaitPumpingMessages(openWait_);
    }
  } catch (const PcscCallError& error) {
    TraceCallError(error, status);
    record.Set({.Number = error.number(),
                .Description = error.what(),
                .ComFunction = "OpenEncoder",
                .RdrCommand = call,
                .RdrRetCode = ScardText(status)});
    CloseQuietly();
    result = sceError;
  }
  trace.Line("<-- OpenEncoder");
  return result;
}

sceReturnCode ReaderSession::CloseEncoder() {
  Operation operation(reporting_, {.name = "CloseEncoder"});
  return operation.Run([&] {
    PcscLong status = 0;
    const char* step = "CloseReader";
    try {
      if (card_ != 0) {
        reporting_.trace.Line("hCard <> 0, calling SCardDisconnect");
        status = links_.pcsc.Disconnect(card_, scard::LEAVE_CARD);
        reporting_.trace.Line("SCardDisconnect returned: ", ScardText(status));
        card_ = 0;
      }
      if (context_ != 0) {
        step = "CloseComm";
        reporting_.trace.Line("hContext <> 0, calling SCardReleaseContext");
        status = links_.pcsc.ReleaseContext(context_);
        reporting_.trace.Line("SCardReleaseContext returned: ", ScardText(status));
        context_ = 0;
      }
    } catch (const PcscCallError& error) {
      // The call could not be made: the handle it concerned stays as it was.
      TraceCallError(error, status);
      reporting_.record.Set({.Number = error.number(),
                             .Description = error.what(),
                             .ComFunction = "CloseEncoder",
                             .RdrCommand = step,
                             .RdrRetCode = ScardText(status)});
      return Refused();
    }
    return Finished(sceSuccess);
  });
}

void ReaderSession::CloseQuietly() {
  TraceLog& trace = reporting_.trace;
  trace.Line("--> CloseEncoderQuietly");
  // Both calls are made even for a handle that is already 0; results are only traced.
  try {
    trace.Line("SCardDisconnect returned: ",
               ScardText(links_.pcsc.Disconnect(card_, scard::LEAVE_CARD)));
  } catch (const PcscCallError& error) {
    TraceCallError(error, 0);
  }
  card_ = 0;
  try {
    trace.Line("SCardReleaseContext returned: ", ScardText(links_.pcsc.ReleaseContext(context_)));
  } catch (const PcscCallError& error) {
    TraceCallError(error, 0);
  }
  context_ = 0;
  trace.Line("<-- CloseEncoderQuietly");
}

void ReaderSession::ReleaseCard() {
  if (card_ == 0) return;
  reporting_.trace.Line("hCard <> 0, releasing the card for the dialog");
  try {
    reporting_.trace.Line("SCardDisconnect returned: ",
                          ScardText(links_.pcsc.Disconnect(card_, scard::LEAVE_CARD)));
    card_ = 0;
    Identify("");
  } catch (const PcscCallError& error) {
    // The card stays connected; the dialog's test will report the sharing violation.
    reporting_.trace.Line("Error ", error.number(), ": ", error.what());
  }
}

sceReturnCode ReaderSession::SelectCardInRange() {
  TraceLog& trace = reporting_.trace;
  trace.Line("--> SelectCardInRange");
  Identify("");
  if (context_ == 0) {
    trace.Line("hContext = 0, encoder is closed");
    reporting_.record.Fail(failure::kEncoderClosed, "SelectCardInRange");
    trace.Line("<-- SelectCardInRange");
    return sceError;
  }
  sceReturnCode result = sceSuccess;
  PcscLong status = 0;
  try {
    if (card_ != 0) {
      if (!settings_.forceReconnect) {
        // The identification cleared above is deliberately not read again.
        trace.Line("hCard <> 0, card is connected");
        trace.Line("<-- SelectCardInRange");
        return sceSuccess;
      }
      trace.Line("hCard <> 0, card is connected, disconnecting");
      status = links_.pcsc.Disconnect(card_, scard::LEAVE_CARD);
      trace.Line("SCardDisconnect returned: ", ScardText(status));
      card_ = 0;
    }
    trace.Line("Connecting card");
    status = Connect();
    if (status == 0) {
      Identify(BytesToHex(ReadAtr(), 1, -1, true));
    } else {
      const Failure& failed = IsNoCard(status) ? failure::kEncoderEmpty : failure::kCannotConnect;
      reporting_.record.Set({.Number = failed.number,
                             .Description = failed.description,
                             .RdrCommand = "SCardConnect",
                             .RdrRetCode = ScardText(status)});
      trace.Line("SCardDisconnect returned: ",
                 ScardText(links_.pcsc.Disconnect(card_, scard::LEAVE_CARD)));
      card_ = 0;
      result = sceError;
    }
  } catch (const PcscCallError& error) {
    TraceCallError(error, status);
    reporting_.record.Set({.Number = error.number(), .Description = error.what()});
    CloseQuietly();
    result = sceError;
  }
  trace.Line("<-- SelectCardInRange");
  return result;
}

sceEncoderState ReaderSession::EncoderState() {
  Operation operation(reporting_, {.name = "EncoderState", .traceName = "Get EncoderState"});
  sceEncoderState state = sceUnknown;
  operation.Run([&] {
    TraceLog& trace = reporting_.trace;
    state = sceReady;
    if (context_ == 0) {
      trace.Line("hContext = 0 ==> Encoder is closed");
      state = sceClosed;
    } else if (SelectCardInRange() != sceError) {
      trace.Line(
          "SelectCardInRange() returned okay ==> Encoder is opened and a card is under the "
          "antenna");
    } else if (reporting_.record.Number() == err::kEncoderEmpty) {
      trace.Line(
          "SelectCardInRange() returned RC_ERROR_ENCODER_EMPTY ==> Encoder is opened, but no "
          "card is under the antenna");
      state = sceOpened;
    } else {
      // Kept as is: any failure other than an empty reader still reports ready.
      trace.Line("SelectCardInRange() returned ", reporting_.record.Number(),
                 " ==> Encoder should be opened and a card should be under the antenna");
    }
    return Finished(sceSuccess);
  });
  return state;
}

void ReaderSession::Identify(std::string_view atr) {
  reporting_.trace.Line("--> Let ATRString");
  atr_ = TrimUpper(atr);
  CardIdentification id;
  try {
    id = IdentifyCard(atr_, serialNumberLength_, links_.registry, links_.host, links_.codePage);
  } catch (const std::exception&) {
    // The card list is the host's: when it cannot be read the card is simply unknown.
    id.serialNumberLength = atr_.empty() ? -1 : serialNumberLength_;
  }
  cardType_ = id.cardType;
  serialNumberLength_ = id.serialNumberLength;
  reporting_.trace.Line("<-- Let ATRString");
}

std::string ReaderSession::ATRString() {
  Operation operation(reporting_,
                      {.name = "ATRString", .traceName = "Get ATRString", .clearOnEntry = false});
  operation.End(Ending::kKeep);
  return atr_;
}

std::int32_t ReaderSession::CardType() {
  Operation operation(reporting_,
                      {.name = "CardType", .traceName = "Get CardType", .clearOnEntry = false});
  reporting_.trace.Line("Card type is ", cardType_);
  return cardType_;
}

std::int32_t ReaderSession::SerialNumberLength() {
  Operation operation(
      reporting_,
      {.name = "SerialNumberLength", .traceName = "Get SerialNumberLength", .clearOnEntry = false});
  reporting_.trace.Line("Serial Number length is ", serialNumberLength_);
  return serialNumberLength_;
}

}  // namespace lumivex
