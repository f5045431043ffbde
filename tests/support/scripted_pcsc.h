// A fake PC/SC reader driven by a script, for frame-exact tests of the Encoder:
//
//   pcsc->Expect("FF CA 00 00 00", "04 A1 B2 C3 90 00");   // the next frame and its answer
//   pcsc->ExpectFailure("90 60 00 00 00", scard::W_REMOVED_CARD);
//   pcsc->QueueResult(PcscCall::Connect, scard::E_SHARING_VIOLATION);  // the next Connect fails
//   pcsc->ThrowOnNext(PcscCall::Disconnect, 453, "Entry point not found");  // cannot be made
//
// Frames are compared as hexadecimal text (blanks and case ignored). A frame that does not match
// the script is a test failure (reported through GoogleTest) and is answered 6F 00. Every call is
// logged ("Connect", "Transmit FFCA000000", "ListReaders length" when only the length is asked,
// ...) for tests that check what did or did not happen.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pcsc_api.h"

namespace lumivex::test {

// One value for each call of the seam.
#define LUMIVEX_SCRIPTED_CALL(result, name, parameters) name,
enum class PcscCall { LUMIVEX_PCSC_CALLS(LUMIVEX_SCRIPTED_CALL) };
#undef LUMIVEX_SCRIPTED_CALL

class ScriptedPcsc : public PcscApi {
 public:
  static constexpr const char* kReaderName = "Scripted Reader 0";
  static constexpr const char* kDefaultAtr =
      "3B 8F 80 01 80 4F 0C A0 00 00 03 06 03 00 01 00 00 00 00 6A";

  ScriptedPcsc();

  // ---- The reader and its card ----
  void SetCardPresent(bool present) {
    cardPresent_ = present;
  }  // absent: Connect gives NO_SMARTCARD
  void SetAtr(const std::string& atrHex);
  // false: GetAttrib of the ATR fails with SCARD_E_UNSUPPORTED_FEATURE (the ATR stays in Status).
  void SetAtrAttributeSupported(bool supported) { atrAttribute_ = supported; }
  void SetAttribute(PcscDword id, std::vector<std::uint8_t> value) {
    attributes_[id] = std::move(value);
  }
  void SetTextAttribute(PcscDword id, const std::string& text);  // stored with its final zero
  // The multi-strings ListReaders serves, in turn: the next one when a reader arrives between the
  // call for the length and the call for the list. None: the scripted reader alone.
  std::vector<std::string> readerLists;

  // ---- Results of the next calls of a kind (afterwards the calls behave normally) ----
  void QueueResult(PcscCall call, std::uint32_t code) { results_[call].push_back(code); }
  void ThrowOnNext(PcscCall call, std::int32_t number, const std::string& description);

  // ---- Frames ----
  void Expect(const std::string& frameHex, const std::string& answerHex);
  void ExpectFailure(const std::string& frameHex, std::uint32_t code);
  // Frames beyond the script get this answer instead of being a test failure.
  void AnswerAnyFrame(const std::string& answerHex) { anyAnswer_ = Compact(answerHex); }
  std::size_t PendingFrames() const { return script_.size(); }

  // ---- What happened ----
  struct TransmitRecord {
    PcscIoRequest sendPci;
    bool receivePciGiven;
    PcscDword receiveLength;  // the buffer size the caller offered
  };
  struct ConnectRecord {
    std::string reader;
    PcscDword shareMode;
    PcscDword protocols;
  };
  const std::vector<std::string>& calls() const { return calls_; }
  std::size_t Count(PcscCall call) const;
  void ClearLog();
  const std::vector<std::string>& frames() const { return frames_; }
  const std::vector<TransmitRecord>& transmits() const { return transmits_; }
  const std::vector<ConnectRecord>& connects() const { return connects_; }
  std::size_t OpenContexts() const { return contexts_.size(); }
  std::size_t OpenCards() const { return cards_.size(); }

  // Hexadecimal text without blanks, upper case.
  static std::string Compact(std::string_view hex);

  LUMIVEX_PCSC_OVERRIDES

 private:
  struct Step {
    std::string frame;
    std::string answer;
    std::optional<std::uint32_t> failure;
  };
  // Logs the call, throws when asked to, and returns a queued result if there is one.
  std::optional<std::uint32_t> Begin(PcscCall call, const std::string& detail = "");

  bool cardPresent_ = true;
  bool atrAttribute_ = true;
  std::vector<std::uint8_t> atr_;
  std::map<PcscDword, std::vector<std::uint8_t>> attributes_;
  std::map<PcscCall, std::deque<std::uint32_t>> results_;
  std::map<PcscCall, std::pair<std::int32_t, std::string>> throws_;
  std::deque<Step> script_;
  std::optional<std::string> anyAnswer_;
  std::vector<std::string> calls_;
  std::vector<std::string> frames_;
  std::vector<TransmitRecord> transmits_;
  std::vector<ConnectRecord> connects_;
  std::set<PcscContext> contexts_;
  std::map<PcscHandle, PcscDword> cards_;  // handle -> active protocol
  PcscContext nextContext_ = 0x1000;
  PcscHandle nextCard_ = 0x2000;
};

}  // namespace lumivex::test
