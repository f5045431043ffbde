// The Encoder's public members behind a reader whose every answer comes from the fuzz input:
// answers of any length and status word, continuation chains that never end, transport failures,
// calls that cannot be made, and (when the input says the card knows the key) a real card's
// answers to a DESFire authentication, so that sessions are reached and enciphered exchanges meet
// garbage too. The calls are a script of the lumivex tool at the front of the input (up to a
// backslash and one more character), compiled against the automation surface's table. Every call
// that returns a code returns sceSuccess or sceError, opens and closes its trace, leaves a record
// that names it with a number exactly when it failed, keeps its frames bounded, fills its text
// outputs with hexadecimal only, and never shows a key it was given.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/script_runner.h"
#include "component/encoder.h"
#include "component/hex.h"
#include "crypto/des.h"
#include "fuzz/fuzz_check.h"
#include "platform/pcsc_api.h"
#include "tests/support/virtual_host.h"

namespace {

using namespace lumivex;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBuffer = 4096;
constexpr const char* kHex = "0123456789ABCDEF";
constexpr std::int32_t kTripleEcb = 1;  // the cipher's mode word for triple DES (EDE) in ECB

bool Only(const std::string& text, const char* allowed) {
  return text.find_first_not_of(allowed) == std::string::npos;
}
std::string Compact(std::string text) {
  std::erase(text, ' ');
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// A reader whose card answers from the input; an exhausted input is a card that left.
class FuzzedPcsc : public PcscApi {
 public:
  explicit FuzzedPcsc(FuzzedDataProvider& input) : in_(input) {}
  std::size_t transmits = 0;
  // The card knows the DESFire key the member under way was given, when the input says so.
  void NextMember(bool knowsKey, const std::string& key) {
    endless_.clear();
    key_ = knowsKey && Only(key, kHex) && (key.size() == 16 || key.size() == 32) ? key : "";
  }

  PcscLong EstablishContext(PcscDword, PcscContext* context) override {
    *context = 0x100;
    return Result();
  }
  PcscLong ReleaseContext(PcscContext) override { return Result(); }
  PcscLong ListReaders(PcscContext, char*, PcscDword*) override { return Failure(); }
  PcscLong Connect(PcscContext, const std::string&, PcscDword, PcscDword protocols,
                   PcscHandle* card, PcscDword* active) override {
    *card = 0x200;
    *active = protocols;
    return in_.remaining_bytes() == 0 ? ScardResult(scard::E_NO_SMARTCARD) : Result();
  }
  PcscLong Disconnect(PcscHandle, PcscDword) override { return Result(); }
  PcscLong Status(PcscHandle, std::string*, PcscDword*, PcscDword*, std::uint8_t* atr,
                  PcscDword* length) override {
    return Result() != 0 ? Failure() : Give(Some(40), atr, length);
  }
  PcscLong GetAttrib(PcscHandle, PcscDword, std::uint8_t* buffer, PcscDword* length) override {
    if (buffer == nullptr) attribute_ = Some(48);
    return Result() != 0 ? Failure() : Give(attribute_, buffer, length);
  }
  PcscLong Transmit(PcscHandle, const PcscIoRequest* pci, const std::uint8_t* send,
                    PcscDword sendLength, PcscIoRequest*, std::uint8_t* recv,
                    PcscDword* recvLength) override {
    ++transmits;
    FUZZ_CHECK(pci != nullptr && pci->cbPciLength == 8 && *recvLength == kBuffer);
    FUZZ_CHECK(sendLength > 0 && send != nullptr);
    if (!endless_.empty()) return Give(endless_, recv, recvLength);
    if (in_.remaining_bytes() == 0) return ScardResult(scard::W_REMOVED_CARD);
    if (const auto answer = Authentication(send, sendLength))
      return Give(*answer, recv, recvLength);
    const int kind = in_.ConsumeIntegralInRange(0, 15);
    if (kind == 0) return Failure();
    if (kind == 1) throw PcscCallError(6, "The handle is invalid");
    if (kind == 2) {  // the card has more to send, for the rest of the member
      endless_.assign(in_.ConsumeIntegralInRange<std::size_t>(0, kBuffer - 2), 0xA5);
      endless_.insert(endless_.end(), {0x91, 0xAF});
      return Give(endless_, recv, recvLength);
    }
    if (kind == 3) {  // a driver that reports more than the buffer holds
      *recvLength = kBuffer + in_.ConsumeIntegral<std::uint16_t>();
      return 0;
    }
    Bytes answer = Some(kind < 14 ? 64 : kBuffer);  // data, then mostly 91 AF, 91 00 or 90 00
    if (kind < 14) {
      const std::uint8_t sw1 = kind == 11 || (kind > 11 && in_.ConsumeBool()) ? 0x90 : 0x91;
      const auto sw2 = kind < 7 ? 0xAF : kind < 12 ? 0 : in_.ConsumeIntegral<std::uint8_t>();
      answer.insert(answer.end(), {sw1, static_cast<std::uint8_t>(sw2)});
    }
    return Give(answer, recv, recvLength);
  }

 private:
  // A card that knows the key answers the selection and the authentication as a real one: RndB
  // 88 99 ... FF, then RndA turned by one byte, each enciphered.
  std::optional<Bytes> Authentication(const std::uint8_t* send, PcscDword length) const {
    if (key_.empty() || length < 5 || send[0] != 0x90) return std::nullopt;
    if (send[1] == 0x5A) return Bytes{0x91, 0x00};
    if (send[1] != 0x0A && (send[1] != 0xAF || length != 22)) return std::nullopt;
    crypto::DES des;
    for (std::int16_t slot = 1; slot <= 3; ++slot)
      des.Keys(slot, slot == 2 ? key_.substr(key_.size() - 16) : key_.substr(0, 16));
    const bool first = send[1] == 0x0A;
    return HexToBytes(
        Compact(des.Encrypt(first ? "8899AABBCCDDEEFF" : "1122334455667700", kTripleEcb)) +
        (first ? "91AF" : "9100"));
  }
  Bytes Some(std::size_t most) {
    return in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange<std::size_t>(0, most));
  }
  PcscLong Result() {
    return in_.remaining_bytes() > 0 && in_.ConsumeIntegral<std::uint8_t>() < 8 ? Failure() : 0;
  }
  PcscLong Failure() {
    static constexpr std::uint32_t kCodes[] = {
        scard::W_REMOVED_CARD, scard::W_UNRESPONSIVE_CARD,  scard::E_SHARING_VIOLATION,
        scard::E_NO_SMARTCARD, scard::E_READER_UNAVAILABLE, scard::F_INTERNAL_ERROR};
    return ScardResult(kCodes[in_.ConsumeIntegralInRange<std::size_t>(0, std::size(kCodes) - 1)]);
  }
  static PcscLong Give(Bytes value, std::uint8_t* buffer, PcscDword* length) {
    value.resize(std::min<std::size_t>(value.size(), *length));
    if (buffer != nullptr) std::copy(value.begin(), value.end(), buffer);
    *length = static_cast<PcscDword>(value.size());
    return 0;
  }

  FuzzedDataProvider& in_;
  std::string key_;
  Bytes endless_;
  Bytes attribute_;
};

bool IsKey(const surface::ParamInfo& param) {
  return param.type == surface::ArgType::Text &&
         std::string_view(param.name).find("Key") != std::string_view::npos;
}

// What a member that answers with a return code must show after a call.
void Check(const std::string& name, const surface::MemberInfo& member, const surface::Slots& before,
           const surface::Slots& after, sceReturnCode result, const std::vector<std::string>& trace,
           std::size_t frames, const CError& record) {
  const bool ok = result == sceSuccess;
  FUZZ_CHECK(ok || result == sceError);
  FUZZ_CHECK(trace.size() >= 2 && trace.front() == "--> " + name && trace.back() == "<-- " + name);
  FUZZ_CHECK(record.ComFunction() == name && (record.Number() == 0) == ok);
  const auto number = static_cast<std::uint32_t>(record.Number());
  FUZZ_CHECK(ok || (!record.Description().empty() &&
                    (number >> 16 == 0x9001 || number >> 16 == 0xA001 || number == 6)));
  // A raw command or a serial number is one frame; a MIFARE member sends one, or a read and a
  // write; a DESFire member a few commands, each chain within the engine's bound of 1024 frames.
  const bool mifare = name.starts_with("Mifare"), desfire = name.starts_with("DESFire");
  FUZZ_CHECK(frames <= (mifare ? 2 : desfire ? 8 * 1024 : 1));
  for (std::size_t i = 0; i < after.size(); ++i) {
    const std::string& text = after[i].text;
    if (desfire || !member.params[i].byReference || member.params[i].type != surface::ArgType::Text)
      continue;
    // An output asked for with ? gets hexadecimal digits, and none after a failure.
    if (before[i].text.empty()) FUZZ_CHECK(Only(text, kHex) && (ok || text.empty()));
    if (std::string_view(member.params[i].name) == "RetCode")
      FUZZ_CHECK(ok ? text.size() == 4 || text.size() == 2 : text.empty());
  }
  // The keys it was given, of eight digits or more without blanks (shorter texts are not masked),
  // never show once the first command is under way.
  const auto sent = std::ranges::find_if(
      trace, [](const std::string& line) { return line.starts_with("--> EncoderCommand("); });
  for (std::size_t i = 0; i < before.size(); ++i) {
    const std::string& key = before[i].text;
    if (!IsKey(member.params[i]) || key.size() < 8 || key.size() % 2 != 0 ||
        !Only(Compact(key), kHex) || key.find(' ') != std::string::npos)
      continue;
    for (auto line = sent; line != trace.end(); ++line)
      FUZZ_CHECK(Compact(*line).find(Compact(key)) == std::string::npos);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  // The calls: a script of the lumivex tool, its words the members' arguments; the rest of the
  // input is the card.
  const cli::CompiledScript script = cli::CompileScript(in.ConsumeRandomLengthString(4096));
  auto pcsc = std::make_shared<FuzzedPcsc>(in);
  std::vector<std::string> trace;
  Encoder encoder(Platform{pcsc, std::make_shared<test::FixedRandomHost>(), nullptr});
  encoder.SetTraceSink([&trace](std::string_view line) { trace.emplace_back(line); });
  encoder.SetOpenWait(std::chrono::milliseconds(0));
  encoder.Parameters(std::string("Device=Fuzzed Reader 0;force_reconnect=") +
                     (in.ConsumeBool() ? "1" : "0"));
  encoder.OpenEncoder(0);
  for (std::size_t at = 0; at < script.calls.size() && at < 32; ++at) {
    if (script.calls[at].member == nullptr) continue;  // Get and Set
    const surface::MemberInfo& member = *script.calls[at].member;
    surface::Slots slots = script.calls[at].slots;
    std::string key;
    for (std::size_t i = 0; i < slots.size() && key.empty(); ++i)
      if (IsKey(member.params[i])) key = Compact(slots[i].text);
    pcsc->NextMember(in.ConsumeBool(), key);
    trace.clear();
    const std::size_t before = pcsc->transmits;
    const surface::CallResult result = member.call(encoder, slots);
    // The session members trace their arguments; the unprefixed MIFARE members are the Mifare
    // ones under another name.
    std::string name = member.name;
    if (!result.code || name.ends_with("Encoder")) continue;
    if (surface::FindEncoderMember("Mifare" + name) != nullptr) name = "Mifare" + name;
    Check(name, member, script.calls[at].slots, slots, *result.code, trace,
          pcsc->transmits - before, encoder.LastError());
  }
  encoder.SetTraceSink(nullptr);
  return 0;
}
