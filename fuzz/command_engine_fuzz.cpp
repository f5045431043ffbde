// The Encoder behind a PC/SC binding whose every answer comes from the fuzz input: frames of any
// length, 91AF chains that never end, transport failures, calls that cannot be made, odd ATRs.
// The host drives the public members and the command engine in any order. Nothing may crash,
// hang or grow without bound, outputs keep their forms, failures are recorded, and no key given
// to a command shows in the trace.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "component/encoder.h"
#include "component/variant.h"
#include "fuzz/fuzz_check.h"
#include "platform/pcsc_api.h"
#include "tests/support/encoder_test_peer.h"
#include "tests/support/virtual_host.h"

namespace {

using namespace lumivex;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kReceiveBuffer = 4096;
// The engine follows at most 1024 continuation frames or 1 MiB of chained data per command.
constexpr std::size_t kMaxFrames = 1024;
constexpr std::size_t kMaxChainedDigits = 2 * (std::size_t{1024} * 1024 + kReceiveBuffer);
constexpr std::array<std::uint32_t, 9> kFailures{
    scard::W_REMOVED_CARD,   scard::W_UNRESPONSIVE_CARD, scard::E_TIMEOUT,
    scard::E_NO_SMARTCARD,   scard::E_SHARING_VIOLATION, scard::E_READER_UNAVAILABLE,
    scard::E_INVALID_HANDLE, scard::E_NOT_READY,         scard::F_INTERNAL_ERROR};

// A reader whose card answers from the fuzz input; an exhausted input is a card that left.
class FuzzedPcsc : public PcscApi {
 public:
  explicit FuzzedPcsc(FuzzedDataProvider& input) : in_(input) {}
  std::size_t transmits = 0;
  // An endless chain lasts for the operation under way (the next one meets a sane card again).
  void NextOperation() { endless_ = false; }

  PcscLong EstablishContext(PcscDword, PcscContext* context) override {
    *context = 0x100;
    return Fails() ? Failure() : 0;
  }
  PcscLong ReleaseContext(PcscContext) override { return Fails() ? Failure() : 0; }
  PcscLong ListReaders(PcscContext, char*, PcscDword* length) override {
    *length = 0;
    return ScardResult(scard::E_NO_READERS_AVAILABLE);
  }
  PcscLong Connect(PcscContext, const std::string&, PcscDword, PcscDword protocols,
                   PcscHandle* card, PcscDword* active) override {
    if (in_.remaining_bytes() == 0) return ScardResult(scard::E_NO_SMARTCARD);
    *card = nextCard_++;
    *active = protocols;
    return Fails() ? Failure() : 0;
  }
  PcscLong Disconnect(PcscHandle, PcscDword) override { return Fails() ? Failure() : 0; }
  PcscLong Status(PcscHandle, std::string* reader, PcscDword* state, PcscDword* protocol,
                  std::uint8_t* atr, PcscDword* atrLength) override {
    if (Fails()) return Failure();
    if (reader != nullptr) *reader = "Fuzzed Reader 0";
    if (state != nullptr) *state = scard::STATE_PRESENT | scard::STATE_SPECIFIC;
    if (protocol != nullptr) *protocol = scard::PROTOCOL_T1;
    return Give(Some(40), atr, atrLength);
  }
  PcscLong GetAttrib(PcscHandle, PcscDword, std::uint8_t* buffer, PcscDword* length) override {
    if (Fails()) return Failure();
    if (buffer == nullptr) attribute_ = Some(48);
    return Give(attribute_, buffer, length);
  }
  PcscLong Transmit(PcscHandle, const PcscIoRequest* pci, const std::uint8_t* send,
                    PcscDword sendLength, PcscIoRequest*, std::uint8_t* recv,
                    PcscDword* recvLength) override {
    ++transmits;
    FUZZ_CHECK(pci != nullptr && pci->cbPciLength == 8 && *recvLength == kReceiveBuffer);
    FUZZ_CHECK(sendLength == 0 || send != nullptr);
    if (endless_) return Answer(endlessData_, {0x91, 0xAF}, recv, recvLength);
    if (in_.remaining_bytes() == 0) return ScardResult(scard::W_REMOVED_CARD);
    const int kind = in_.ConsumeIntegralInRange(0, 15);
    if (kind == 0) return Failure();
    if (kind == 1) throw PcscCallError(6, "The handle is invalid");
    if (kind == 2) {  // the card has more to send, forever
      endless_ = true;
      endlessData_.assign(in_.ConsumeIntegralInRange<std::size_t>(0, kReceiveBuffer - 2), 0xA5);
      return Answer(endlessData_, {0x91, 0xAF}, recv, recvLength);
    }
    if (kind == 3) {  // a driver that reports more than the buffer holds
      *recvLength = kReceiveBuffer + in_.ConsumeIntegral<std::uint16_t>();
      return 0;
    }
    if (kind <= 7) {  // a DESFire-style answer: data then 91 xx, 91 AF or 90 00
      const Bytes data = Some(64);
      const auto sw2 = in_.ConsumeIntegral<std::uint8_t>();
      const std::uint8_t sw1 = kind == 7 || in_.ConsumeBool() ? 0x91 : 0x90;
      return Answer(data,
                    {sw1, kind == 7     ? std::uint8_t{0xAF}
                          : sw1 == 0x90 ? std::uint8_t{0}
                                        : sw2},
                    recv, recvLength);
    }
    return Answer({}, Some(kReceiveBuffer), recv, recvLength);  // any bytes at all
  }

 private:
  Bytes Some(std::size_t most) {
    return in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange<std::size_t>(0, most));
  }
  bool Fails() { return in_.remaining_bytes() > 0 && in_.ConsumeIntegralInRange(0, 31) == 0; }
  PcscLong Failure() {
    return ScardResult(kFailures[in_.ConsumeIntegralInRange<std::size_t>(0, kFailures.size() - 1)]);
  }
  static PcscLong Give(const Bytes& value, std::uint8_t* buffer, PcscDword* length) {
    if (buffer != nullptr && *length < value.size())
      return ScardResult(scard::E_INSUFFICIENT_BUFFER);
    if (buffer != nullptr) std::copy(value.begin(), value.end(), buffer);
    *length = static_cast<PcscDword>(value.size());
    return 0;
  }
  static PcscLong Answer(Bytes data, const Bytes& tail, std::uint8_t* buffer, PcscDword* length) {
    data.insert(data.end(), tail.begin(), tail.end());
    data.resize(std::min<std::size_t>(data.size(), *length));
    return Give(data, buffer, length);
  }

  FuzzedDataProvider& in_;
  bool endless_ = false;
  Bytes endlessData_;
  Bytes attribute_;
  PcscHandle nextCard_ = 0x200;
};

bool Only(const std::string& text, const char* allowed) {
  return text.find_first_not_of(allowed) == std::string::npos;
}
constexpr const char* kHex = "0123456789ABCDEF";
bool IsHexBytes(const std::string& text) {
  return Only(text, kHex) && text.size() % 2 == 0;
}
bool IsStatusWord(const std::string& w) {
  return Only(w, kHex) && (w.size() == 4 || w.size() == 2);
}
std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// A hexadecimal text of a few bytes, sometimes with blanks or lower case, sometimes not hex.
std::string HexParam(FuzzedDataProvider& in) {
  static constexpr char kAlphabet[] = "0123456789ABCDEFabcdef 0123456789ABCDEFG";
  std::string text(in.ConsumeIntegralInRange<std::size_t>(0, 40), '0');
  const std::size_t alphabet = in.ConsumeBool() ? 16 : sizeof(kAlphabet) - 1;
  for (char& c : text) c = kAlphabet[in.ConsumeIntegralInRange<std::size_t>(0, alphabet - 1)];
  return text;
}
std::string Key(FuzzedDataProvider& in) {
  return in.ConsumeBool() ? "FF FF FF FF FF FF" : HexParam(in);
}
// A number as a host may pass it: usually small, sometimes anything.
std::int32_t Number(FuzzedDataProvider& in, std::int32_t small) {
  return in.ConsumeBool() ? in.ConsumeIntegralInRange(-1, small)
                          : in.ConsumeIntegral<std::int32_t>();
}
template <typename Level>
Level AnyLevel(FuzzedDataProvider& in) {
  return static_cast<Level>(Number(in, 15));
}
bool IsLevel(int value) {
  return value >= 0 && value <= 15;
}
std::optional<Variant> Bx(FuzzedDataProvider& in) {
  const int kind = in.ConsumeIntegralInRange(0, 2);
  if (kind == 0) return std::nullopt;
  return kind == 1 ? Variant::FromInt32(Number(in, 255))
                   : Variant::FromText(in.ConsumeRandomLengthString(8));
}

// The arguments of one operation, drawn from the input; outputs start stale.
struct Args {
  explicit Args(FuzzedDataProvider& input)
      : in(input),
        bloc(Number(in, 255)),
        file(Number(in, 8)),
        key(Number(in, 14)),
        comm(Number(in, 3)),
        offset(Number(in, 300)),
        length(Number(in, 300)),
        keyType(in.ConsumeIntegral<std::uint8_t>()),
        hex(in.ConsumeBool()),
        keyText(Key(in)),
        text(hex ? HexParam(in) : in.ConsumeRandomLengthString(200)) {}
  FuzzedDataProvider& in;
  std::int32_t bloc, file, key, comm, offset, length, value = 0;
  std::uint8_t keyType, byte = 0, byte2 = 0;
  bool hex;
  std::string keyText, text, out = "stale", out2 = "stale";
  SCBS_SecurityLevelEnum s0{}, s1{}, s2{};
  SCSS_SecurityLevelEnum conditions{};
  Variant info;
};

enum class Family { kHost, kMifare, kDesfire };
struct Op {
  const char* name;
  Family family;
  sceReturnCode (*run)(Encoder&, Args&);
  bool (*holds)(const Args&, sceReturnCode) = nullptr;  // the forms of the outputs afterwards
};

constexpr Op With(Op op, bool (*holds)(const Args&, sceReturnCode)) {
  op.holds = holds;
  return op;
}
// clang-format off
#define OP(family, member, ...) \
  Op{#member, Family::family, [](Encoder& e, [[maybe_unused]] Args& a) { return e.member(__VA_ARGS__); }}
// clang-format on
#define MF(member, ...) OP(kMifare, member, a.bloc, a.keyText, a.keyType, __VA_ARGS__)
using Holds = bool (*)(const Args&, sceReturnCode);
const Holds kHexOrEmpty = [](const Args& a, sceReturnCode r) {
  return Only(a.out, kHex) && (r == sceSuccess || a.out.empty());
};
const Holds kHexRead = [](const Args& a, sceReturnCode r) {
  return r != sceSuccess || IsHexBytes(a.out);
};
const Op kOps[] = {
    With(OP(kHost, ReadSerialNumber, a.out), kHexOrEmpty),
    With(OP(kHost, Escape, a.text, a.out), kHexOrEmpty),
    With(OP(kHost, EscapeExt, a.text, a.out, a.out2),
         [](const Args& a, sceReturnCode r) {
           return r == sceSuccess ? a.out2 == "FFFF" || IsStatusWord(a.out2)
                                  : a.out.empty() && a.out2.empty();
         }),
    OP(kHost, OpenEncoder, a.in.ConsumeIntegral<std::int32_t>()),
    With(MF(MifareReadDataBloc, a.out), kHexRead),
    MF(MifareWriteDataBloc, a.text),
    With(MF(MifareWriteBytesInBloc, a.byte, a.in.ConsumeIntegral<std::uint8_t>(), a.text),
         [](const Args& a, sceReturnCode r) {
           return r != sceSuccess || (a.text.size() == 32 && Only(a.text, kHex));
         }),
    MF(MifareWriteValueBloc, a.value),
    With(MF(MifareReadSectorTrailer, a.byte, a.s0, a.s1, a.s2, a.conditions, a.byte2),
         [](const Args& a, sceReturnCode r) {
           return r != sceSuccess ||
                  (IsLevel(a.s0) && IsLevel(a.s1) && IsLevel(a.s2) && IsLevel(a.conditions));
         }),
    MF(MifareWriteSectorTrailer, Key(a.in), Key(a.in), a.byte,
       AnyLevel<SCBS_SecurityLevelEnum>(a.in), AnyLevel<SCBS_SecurityLevelEnum>(a.in),
       AnyLevel<SCBS_SecurityLevelEnum>(a.in), AnyLevel<SCSS_SecurityLevelEnum>(a.in), Bx(a.in)),
    With(OP(kMifare, MifareReadManufacturerCode, a.keyText, a.keyType, a.value, a.byte, a.out),
         [](const Args& a, sceReturnCode r) {
           return r != sceSuccess || (a.out.size() == 22 && Only(a.out, kHex));
         }),
    OP(kDesfire, DESFireSelectRoot, a.keyText),
    OP(kDesfire, DESFireSelectApplication, HexParam(a.in), a.key, a.keyText),
    OP(kDesfire, DESFireFormat),
    OP(kDesfire, DESFireCreateApplication, HexParam(a.in), DesfireKeySettings(a.bloc), a.key),
    OP(kDesfire, DESFireDeleteApplication, HexParam(a.in)),
    With(OP(kDesfire, DESFireGetApplications, a.out),
         [](const Args& a, sceReturnCode r) {
           return r != sceSuccess || Only(a.out, "0123456789ABCDEF,");
         }),
    OP(kDesfire, DESFireGetVersion, DesfireVersionBytes(a.offset % 32), a.info),
    OP(kDesfire, DESFireChangeKey, a.key, a.keyText, HexParam(a.in)),
    OP(kDesfire, DESFireGetKeyVersion, a.key, a.value),
    OP(kDesfire, DESFireGetKeySettings, a.value, a.length),
    OP(kDesfire, DESFireChangeKeySettings, DesfireKeySettings(a.bloc)),
    OP(kDesfire, DESFireGetFileIDs, a.out),
    OP(kDesfire, DESFireCreateStdDataFile, a.file, a.comm, a.key, a.key, a.key, a.key, a.length),
    OP(kDesfire, DESFireCreateBackupDataFile, a.file, a.comm, a.key, a.key, a.key, a.key, a.length),
    OP(kDesfire, DESFireCreateValueFile, a.file, a.comm, a.key, a.key, a.key, a.key, a.offset,
       a.length, a.bloc, a.hex),
    OP(kDesfire, DESFireCreateLinearRecordFile, a.file, a.comm, a.key, a.key, a.key, a.key,
       a.length, a.offset),
    OP(kDesfire, DESFireCreateCyclicRecordFile, a.file, a.comm, a.key, a.key, a.key, a.key,
       a.length, a.offset),
    OP(kDesfire, DESFireDeleteFile, a.file),
    OP(kDesfire, DESFireGetFileSettings, a.file, a.out),
    OP(kDesfire, DESFireChangeFileSettings, a.file, a.comm, a.key, a.key, a.key, a.key),
    OP(kDesfire, DESFireWriteData, a.file, a.offset, a.length, a.text, a.hex),
    OP(kDesfire, DESFireReadData, a.file, a.offset, a.length, a.text, a.hex),
    OP(kDesfire, DESFireWriteRecord, a.file, a.offset, a.length, a.text, a.hex),
    OP(kDesfire, DESFireReadRecords, a.file, a.offset, a.length, a.text, a.hex),
    OP(kDesfire, DESFireClearRecordFile, a.file),
    OP(kDesfire, DESFireGetValue, a.file, a.value),
    OP(kDesfire, DESFireDebit, a.file, a.offset),
    OP(kDesfire, DESFireCredit, a.file, a.offset),
    OP(kDesfire, DESFireLimitedCredit, a.file, a.offset),
    OP(kDesfire, DESFireCommitTransaction),
    OP(kDesfire, DESFireAbortTransaction),
};
#undef MF
#undef OP

// Parameters that hold keys and cryptograms, by command: they must never reach the trace.
std::vector<std::size_t> SecretParams(std::int32_t code) {
  if (code == cmd::DesfireAuthenticate1) return {3, 4, 5};
  if (code == cmd::DesfireAuthenticate3 || code == cmd::DesfireChangeKeySettings) return {0};
  for (const std::int32_t c : {cmd::LoadKey, cmd::MifareClassicRead, cmd::MifareClassicWrite,
                               cmd::DesfireChangeKey, cmd::DesfireChangeFileSettings2})
    if (code == c) return {1};
  return {};
}

struct Bench {
  explicit Bench(FuzzedDataProvider& input)
      : pcsc(std::make_shared<FuzzedPcsc>(input)),
        encoder(Platform{pcsc, std::make_shared<test::VirtualHost>(), nullptr}) {
    encoder.SetTraceSink(
        [this](std::string_view line) { trace.push_back(Upper(std::string(line))); });
    encoder.Parameters("Device=Fuzzed Reader 0");
    encoder.SetOpenWait(std::chrono::milliseconds(0));
  }
  std::shared_ptr<FuzzedPcsc> pcsc;
  std::vector<std::string> trace;
  Encoder encoder(DefaultPlatform());
};

void RunCommand(FuzzedDataProvider& in, Bench& bench) {
  const std::int32_t code =
      in.ConsumeBool() ? in.ConsumeIntegralInRange(1, 4) << 8 | in.ConsumeIntegralInRange(0, 0x45)
                       : in.ConsumeIntegral<std::int32_t>();
  std::vector<std::string> params(in.ConsumeIntegralInRange<std::size_t>(0, 8));
  for (auto& p : params) p = in.ConsumeBool() ? HexParam(in) : in.ConsumeRandomLengthString(24);
  // Response is in and out (a first ContinueResponse frame appends to it): callers start empty.
  std::string response;
  std::string statusWord = "stale";
  bool autoContinue = in.ConsumeBool();
  bench.trace.clear();
  const std::size_t before = bench.pcsc->transmits;
  const sceReturnCode result = EncoderTestPeer::EncoderCommand(bench.encoder, code, params,
                                                               response, statusWord, autoContinue);
  FUZZ_CHECK(bench.pcsc->transmits - before <= kMaxFrames);
  FUZZ_CHECK(result == sceSuccess ||
             (result == sceError && response.empty() && bench.encoder.LastError().Number() != 0));
  FUZZ_CHECK(IsHexBytes(response) && response.size() <= kMaxChainedDigits);
  FUZZ_CHECK(statusWord == "FFFF" || IsStatusWord(statusWord));
  for (const std::size_t index : SecretParams(code)) {
    std::string secret = index < params.size() ? Upper(params[index]) : "";
    std::erase(secret, ' ');
    if (secret.size() < 8 || !Only(secret, kHex)) continue;
    for (const std::string& line : bench.trace) FUZZ_CHECK(line.find(secret) == std::string::npos);
  }
}

// One public member with arguments from the input; DESFire ones now and then with a session in
// place (as after an authentication), so enciphered exchanges meet garbage too.
void RunMember(FuzzedDataProvider& in, Bench& bench) {
  Encoder& e = bench.encoder;
  const Op& op = kOps[in.ConsumeIntegralInRange<std::size_t>(0, std::size(kOps) - 1)];
  if (op.family == Family::kDesfire && in.ConsumeIntegralInRange(0, 7) == 0) {
    EncoderTestPeer::ApplicationId(e) = in.ConsumeBool() ? "000000" : "112233";
    EncoderTestPeer::KeyNumber(e) = in.ConsumeIntegralInRange(-1, 14);
    EncoderTestPeer::SessionKey(e) =
        in.ConsumeBool() ? "0123456789ABCDEF0123456789ABCDEF" : "0123456789ABCDEFFEDCBA9876543210";
  }
  Args args(in);
  const std::size_t before = bench.pcsc->transmits;
  const sceReturnCode result = op.run(e, args);
  FUZZ_CHECK(result == sceSuccess || result == sceError);
  FUZZ_CHECK(e.LastError().ComFunction() == op.name);
  if (result == sceError)
    FUZZ_CHECK(e.LastError().Number() != 0 && !e.LastError().Description().empty());
  if (op.holds != nullptr) FUZZ_CHECK(op.holds(args, result));
  const std::size_t frames = bench.pcsc->transmits - before;
  // A MIFARE operation sends one frame, or a read and a write; it never follows a chain.
  if (op.family == Family::kMifare) FUZZ_CHECK(frames <= 2);
  if (op.family == Family::kDesfire) {
    // A few commands each, every chain within the engine's bound; failures carry the component's
    // numbers (9001xxxx), a cipher's (A001xxxx) or a small one.
    FUZZ_CHECK(frames <= 8 * kMaxFrames);
    const auto number = static_cast<std::uint32_t>(e.LastError().Number());
    if (result == sceError)
      FUZZ_CHECK(number >> 16 == 0x9001 || number >> 16 == 0xA001 || number < 0x10000);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  Bench bench(in);
  Encoder& encoder = bench.encoder;
  for (int operations = 0; in.remaining_bytes() > 0 && operations < 64; ++operations) {
    bench.pcsc->NextOperation();
    const int kind = in.ConsumeIntegralInRange(0, 15);
    if (kind == 0) {
      const sceReturnCode result = encoder.CloseEncoder();
      FUZZ_CHECK(result == sceSuccess || result == sceError);
    } else if (kind == 1) {
      const sceEncoderState state = encoder.EncoderState();
      FUZZ_CHECK(state == sceClosed || state == sceOpened || state == sceReady);
      (void)encoder.ReaderType(), (void)encoder.ATRString(), (void)encoder.CardType();
      (void)encoder.SerialNumberLength();
    } else if (kind == 2) {
      encoder.Parameters(std::string("Protocol=") + (in.ConsumeBool() ? "2" : "1") +
                         ";force_reconnect=" + (in.ConsumeBool() ? "1" : "0"));
    } else if (kind == 3) {
      encoder.MifareSetAccessCondition(in.ConsumeIntegral<std::int32_t>(),
                                       in.ConsumeRandomLengthString(8));
    } else if (kind < 11) {
      RunMember(in, bench);
    } else {
      RunCommand(in, bench);
    }
  }
  return 0;
}
