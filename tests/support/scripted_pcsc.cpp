#include "tests/support/scripted_pcsc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

#include "crypto/hex_codec.h"

namespace lumivex::test {

namespace {

#define LUMIVEX_CALL_NAME(result, name, parameters) #name,
constexpr std::array kCallNames = {LUMIVEX_PCSC_CALLS(LUMIVEX_CALL_NAME)};
#undef LUMIVEX_CALL_NAME

const char* Name(PcscCall call) {
  return kCallNames.at(static_cast<std::size_t>(call));
}

// Copies a value into a caller's buffer the way PC/SC does: null asks for the length only.
PcscLong Answer(const std::vector<std::uint8_t>& value, std::uint8_t* buffer, PcscDword* length) {
  if (buffer != nullptr) {
    if (*length < value.size()) return ScardResult(scard::E_INSUFFICIENT_BUFFER);
    std::copy(value.begin(), value.end(), buffer);
  }
  *length = static_cast<PcscDword>(value.size());
  return 0;
}

}  // namespace

ScriptedPcsc::ScriptedPcsc() {
  SetAtr(kDefaultAtr);
  SetTextAttribute(scard::ATTR_DEVICE_FRIENDLY_NAME_A, kReaderName);
  SetTextAttribute(scard::ATTR_VENDOR_NAME, "Scripted Devices");
  SetTextAttribute(scard::ATTR_VENDOR_IFD_TYPE, "SR-1");
  SetAttribute(scard::ATTR_VENDOR_IFD_VERSION, {2, 0, 1, 7});
  SetTextAttribute(scard::ATTR_VENDOR_IFD_SERIAL_NO, "SN0001");
}

std::string ScriptedPcsc::Compact(std::string_view hex) {
  std::string text;
  for (const char c : hex) {
    if (c != ' ') text += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return text;
}

void ScriptedPcsc::SetAtr(const std::string& atrHex) {
  atr_ = crypto::ParseHex(Compact(atrHex));
}

void ScriptedPcsc::SetTextAttribute(PcscDword id, const std::string& text) {
  std::vector<std::uint8_t> value(text.begin(), text.end());
  value.push_back(0);
  attributes_[id] = std::move(value);
}

void ScriptedPcsc::ThrowOnNext(PcscCall call, std::int32_t number, const std::string& description) {
  throws_[call] = {number, description};
}

void ScriptedPcsc::Expect(const std::string& frameHex, const std::string& answerHex) {
  script_.push_back({Compact(frameHex), Compact(answerHex), std::nullopt});
}

void ScriptedPcsc::ExpectFailure(const std::string& frameHex, std::uint32_t code) {
  script_.push_back({Compact(frameHex), "", code});
}

std::size_t ScriptedPcsc::Count(PcscCall call) const {
  const std::string name = Name(call);
  return static_cast<std::size_t>(std::count_if(calls_.begin(), calls_.end(), [&](const auto& c) {
    return c == name || c.rfind(name + " ", 0) == 0;
  }));
}

void ScriptedPcsc::ClearLog() {
  calls_.clear();
  frames_.clear();
  transmits_.clear();
  connects_.clear();
}

std::optional<std::uint32_t> ScriptedPcsc::Begin(PcscCall call, const std::string& detail) {
  calls_.push_back(detail.empty() ? Name(call) : std::string(Name(call)) + " " + detail);
  if (const auto it = throws_.find(call); it != throws_.end()) {
    const auto [number, description] = it->second;
    throws_.erase(it);
    throw PcscCallError(number, description);
  }
  auto& queue = results_[call];
  if (queue.empty()) return std::nullopt;
  const std::uint32_t code = queue.front();
  queue.pop_front();
  return code;
}

PcscLong ScriptedPcsc::EstablishContext(PcscDword /*scope*/, PcscContext* context) {
  if (const auto code = Begin(PcscCall::EstablishContext)) return ScardResult(*code);
  *context = nextContext_++;
  contexts_.insert(*context);
  return 0;
}

PcscLong ScriptedPcsc::ReleaseContext(PcscContext context) {
  if (const auto code = Begin(PcscCall::ReleaseContext)) return ScardResult(*code);
  return contexts_.erase(context) == 1 ? 0 : ScardResult(scard::E_INVALID_HANDLE);
}

PcscLong ScriptedPcsc::ListReaders(PcscContext /*context*/, char* readers, PcscDword* length) {
  if (const auto code = Begin(PcscCall::ListReaders, readers == nullptr ? "length" : "")) {
    return ScardResult(*code);
  }
  if (readerLists.size() > 1 && readers != nullptr) readerLists.erase(readerLists.begin());
  const std::string list =
      readerLists.empty() ? std::string(kReaderName) + '\0' + '\0' : readerLists.front();
  return Answer({list.begin(), list.end()}, reinterpret_cast<std::uint8_t*>(readers), length);
}

PcscLong ScriptedPcsc::Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                               PcscDword preferredProtocols, PcscHandle* card,
                               PcscDword* activeProtocol) {
  connects_.push_back({reader, shareMode, preferredProtocols});
  if (const auto code = Begin(PcscCall::Connect)) return ScardResult(*code);
  if (contexts_.count(context) == 0) return ScardResult(scard::E_INVALID_HANDLE);
  if (reader != kReaderName) return ScardResult(scard::E_UNKNOWN_READER);
  if (!cardPresent_) return ScardResult(scard::E_NO_SMARTCARD);
  *card = nextCard_++;
  *activeProtocol =
      (preferredProtocols & scard::PROTOCOL_T1) != 0 ? scard::PROTOCOL_T1 : scard::PROTOCOL_T0;
  cards_[*card] = *activeProtocol;
  return 0;
}

PcscLong ScriptedPcsc::Disconnect(PcscHandle card, PcscDword /*disposition*/) {
  if (const auto code = Begin(PcscCall::Disconnect)) return ScardResult(*code);
  return cards_.erase(card) == 1 ? 0 : ScardResult(scard::E_INVALID_HANDLE);
}

PcscLong ScriptedPcsc::Status(PcscHandle card, std::string* readerName, PcscDword* state,
                              PcscDword* protocol, std::uint8_t* atr, PcscDword* atrLength) {
  if (const auto code = Begin(PcscCall::Status)) return ScardResult(*code);
  const auto it = cards_.find(card);
  if (it == cards_.end()) return ScardResult(scard::E_INVALID_HANDLE);
  if (readerName != nullptr) *readerName = kReaderName;
  if (state != nullptr)
    *state = scard::STATE_PRESENT | scard::STATE_POWERED | scard::STATE_SPECIFIC;
  if (protocol != nullptr) *protocol = it->second;
  return atrLength != nullptr ? Answer(atr_, atr, atrLength) : 0;
}

PcscLong ScriptedPcsc::GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                                 PcscDword* length) {
  if (const auto code = Begin(PcscCall::GetAttrib, std::to_string(attributeId))) {
    return ScardResult(*code);
  }
  if (cards_.count(card) == 0) return ScardResult(scard::E_INVALID_HANDLE);
  if (attributeId == scard::ATTR_ATR_STRING) {
    return atrAttribute_ ? Answer(atr_, buffer, length) : ScardResult(scard::E_UNSUPPORTED_FEATURE);
  }
  const auto it = attributes_.find(attributeId);
  if (it == attributes_.end()) return ScardResult(scard::E_UNSUPPORTED_FEATURE);
  return Answer(it->second, buffer, length);
}

PcscLong ScriptedPcsc::Transmit(PcscHandle card, const PcscIoRequest* sendPci,
                                const std::uint8_t* sendBuffer, PcscDword sendLength,
                                PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                                PcscDword* recvLength) {
  const std::string frame = crypto::FormatHex({sendBuffer, sendLength}, false);
  frames_.push_back(frame);
  transmits_.push_back({*sendPci, recvPci != nullptr, *recvLength});
  if (const auto code = Begin(PcscCall::Transmit, frame)) return ScardResult(*code);
  if (cards_.count(card) == 0) return ScardResult(scard::E_INVALID_HANDLE);

  std::string answer;
  if (!script_.empty()) {
    const Step step = script_.front();
    script_.pop_front();
    EXPECT_EQ(frame, step.frame) << "frame " << frames_.size() << " differs from the script";
    if (frame != step.frame)
      answer = "6F00";
    else if (step.failure)
      return ScardResult(*step.failure);
    else
      answer = step.answer;
  } else if (anyAnswer_) {
    answer = *anyAnswer_;
  } else {
    ADD_FAILURE() << "unexpected frame " << frame << " (the script is exhausted)";
    answer = "6F00";
  }
  return Answer(crypto::ParseHex(answer), recvBuffer, recvLength);
}

}  // namespace lumivex::test
