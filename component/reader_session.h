// The reader session of an Encoder: its PC/SC context and card connection ("the encoder" is the
// reader; "open" means a context exists, "ready" that a card is connected), the identification of
// the card it connected, and the members that open, select, describe and close it.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "component/bytes.h"
#include "component/operation.h"
#include "component/parameters.h"
#include "component/types.h"
#include "platform/pcsc_api.h"

namespace lumivex {

class CodePage;
class Host;
class RegistryApi;

// How a reader attribute's value is read.
enum class AttributeKind {
  kVersion = 0,   // four bytes shown one by one, joined by "."
  kText = 1,      // 8-bit text up to the first zero byte
  kRawBytes = 3,  // the bytes themselves (the ATR)
};

struct ReaderLinks {
  PcscApi& pcsc;
  Host& host;
  RegistryApi* registry;  // null: no card list, every card is unknown
  const CodePage& codePage;
};

class ReaderSession {
 public:
  ReaderSession(Reporting& reporting, const ReaderLinks& links)
      : reporting_(reporting), links_(links) {}
  ~ReaderSession();  // releases what is still held, without a trace
  ReaderSession(const ReaderSession&) = delete;
  ReaderSession& operator=(const ReaderSession&) = delete;

  [[nodiscard]] EncoderSettings& settings() { return settings_; }
  [[nodiscard]] PcscContext context() const { return context_; }
  [[nodiscard]] PcscHandle card() const { return card_; }
  void SetOpenWait(std::chrono::milliseconds wait) { openWait_ = wait; }

  // ---- The host's members ----
  sceReturnCode OpenEncoder(std::int32_t Handle);
  sceReturnCode CloseEncoder();
  sceEncoderState EncoderState();
  std::string ReaderType();
  std::string ATRString();
  std::int32_t CardType();
  std::int32_t SerialNumberLength();

  // ---- Routines of the other operations ----
  // Establishes the context when needed and connects the card, retrying a sharing violation
  // once, waiting after each attempt while the host's messages run. reportFailure false: a
  // failed connection still counts as opened.
  sceReturnCode Open(std::int32_t handle, bool reportFailure);
  // Makes sure a card is connected and identified (connecting it again when forced).
  sceReturnCode SelectCardInRange();
  // Disconnects and releases, tracing the results and recording nothing.
  void CloseQuietly();
  // Lets the card go (for the configuration dialog's exclusive test) and forgets its identity.
  void ReleaseCard();
  // Identifies the card from its ATR ("" clears the identification).
  void Identify(std::string_view atr);

 private:
  PcscLong Connect();
  // A reader attribute, traced: kRawBytes gives the bytes (in raw), the other kinds the
  // template with "%1" replaced by the value.
  std::string ReaderGetAttr(std::string_view pattern, PcscDword attribute, AttributeKind kind,
                            Bytes* raw = nullptr);
  Bytes ReadAtr();
  void TraceCallError(const PcscCallError& error, PcscLong lastResult);

  Reporting& reporting_;
  ReaderLinks links_;
  EncoderSettings settings_;
  PcscContext context_ = 0;
  PcscHandle card_ = 0;
  PcscDword activeProtocol_ = 0;
  std::chrono::milliseconds openWait_{5000};
  std::string atr_;
  std::int32_t cardType_ = sceUnknownType;
  std::int32_t serialNumberLength_ = -1;
};

}  // namespace lumivex
