// The Encoder behind a PC/SC binding whose every answer comes from the fuzz input: frames of any
// length, 91AF chains that never end, transport failures, calls that cannot be made, odd ATRs.
// The host drives the public members and the command engine in any order. Nothing may crash,
// hang or grow without bound, outputs keep their forms, failures are recorded, and no key given
// to a command shows in the trace.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
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

constexpr std::size_t kReceiveBuffer = 4096;
// The engine follows at most 1024 continuation frames or 1 MiB of chained data per command.
constexpr std::size_t kMaxFramesPerCommand = 1024;
constexpr std::size_t kMaxChainedDigits = 2 * (std::size_t{1024} * 1024 + kReceiveBuffer);

constexpr std::array<std::uint32_t, 9> kFailures{
    scard::W_REMOVED_CARD,   scard::W_UNRESPONSIVE_CARD, scard::E_TIMEOUT,
    scard::E_NO_SMARTCARD,   scard::E_SHARING_VIOLATION, scard::E_READER_UNAVAILABLE,
    scard::E_INVALID_HANDLE, scard::E_NOT_READY,         scard::F_INTERNAL_ERROR};

// A reader whose card answers from the fuzz input; an exhausted input is a card that left.
class FuzzedPcsc : public PcscApi {
 public:
  explicit FuzzedPcsc(FuzzedDataProvider& input) : input_(input) {}

  [[nodiscard]] std::size_t transmits() const { return transmits_; }
  // An endless chain lasts for the operation under way (the next one meets a sane card again,
  // which keeps the runs fast).
  void NextOperation() { endless_ = false; }

  PcscLong EstablishContext(PcscDword, PcscContext* context) override {
    if (Fails()) return Failure();
    *context = nextContext_++;
    return 0;
  }
  PcscLong ReleaseContext(PcscContext) override { return Fails() ? Failure() : 0; }
  PcscLong ListReaders(PcscContext, char*, PcscDword* length) override {
    *length = 0;
    return ScardResult(scard::E_NO_READERS_AVAILABLE);
  }
  PcscLong Connect(PcscContext, const std::string&, PcscDword, PcscDword protocols,
                   PcscHandle* card, PcscDword* active) override {
    if (input_.remaining_bytes() == 0) return ScardResult(scard::E_NO_SMARTCARD);
    if (Fails()) return Failure();
    *card = nextCard_++;
    *active = protocols;
    return 0;
  }
  PcscLong Disconnect(PcscHandle, PcscDword) override { return Fails() ? Failure() : 0; }
  PcscLong Status(PcscHandle, std::string* reader, PcscDword* state, PcscDword* protocol,
                  std::uint8_t* atr, PcscDword* atrLength) override {
    if (Fails()) return Failure();
    if (reader != nullptr) *reader = "Fuzzed Reader 0";
    if (state != nullptr) *state = scard::STATE_PRESENT | scard::STATE_SPECIFIC;
    if (protocol != nullptr) *protocol = scard::PROTOCOL_T1;
    return Give(input_.ConsumeBytes<std::uint8_t>(input_.ConsumeIntegralInRange(0, 40)), atr,
                atrLength);
  }
  PcscLong GetAttrib(PcscHandle, PcscDword, std::uint8_t* buffer, PcscDword* length) override {
    if (Fails()) return Failure();
    if (buffer == nullptr) {
      attribute_ = input_.ConsumeBytes<std::uint8_t>(input_.ConsumeIntegralInRange(0, 48));
      *length = static_cast<PcscDword>(attribute_.size());
      return 0;
    }
    return Give(attribute_, buffer, length);
  }
  PcscLong Transmit(PcscHandle, const PcscIoRequest* sendPci, const std::uint8_t* sendBuffer,
                    PcscDword sendLength, PcscIoRequest*, std::uint8_t* recvBuffer,
                    PcscDword* recvLength) override {
    ++transmits_;
    FUZZ_CHECK(sendPci != nullptr && sendPci->cbPciLength == 8);
    FUZZ_CHECK(*recvLength == kReceiveBuffer);
    FUZZ_CHECK(sendLength == 0 || sendBuffer != nullptr);
    if (endless_) return Answer(endlessData_, {0x91, 0xAF}, recvBuffer, recvLength);
    if (input_.remaining_bytes() == 0) return ScardResult(scard::W_REMOVED_CARD);
    switch (input_.ConsumeIntegralInRange(0, 15)) {
      case 0:
        return Failure();
      case 1:
        throw PcscCallError(6, "The handle is invalid");
      case 2:  // the card has more to send, forever
        endless_ = true;
        endlessData_.assign(input_.ConsumeIntegralInRange<std::size_t>(0, kReceiveBuffer - 2),
                            0xA5);
        return Answer(endlessData_, {0x91, 0xAF}, recvBuffer, recvLength);
      case 3:  // a driver that reports more than the buffer holds
        *recvLength = kReceiveBuffer + input_.ConsumeIntegral<std::uint16_t>();
        return 0;
      case 4:
      case 5:
      case 6: {  // a DESFire-style answer: data then 91 xx or 90 00
        const Bytes data = input_.ConsumeBytes<std::uint8_t>(input_.ConsumeIntegralInRange(0, 64));
        const auto sw2 = input_.ConsumeIntegral<std::uint8_t>();
        const std::uint8_t sw1 = input_.ConsumeBool() ? 0x91 : 0x90;
        return Answer(data, {sw1, sw1 == 0x90 ? std::uint8_t{0} : sw2}, recvBuffer, recvLength);
      }
      case 7:
        return Answer(input_.ConsumeBytes<std::uint8_t>(input_.ConsumeIntegralInRange(0, 64)),
                      {0x91, 0xAF}, recvBuffer, recvLength);
      default:  // any bytes at all
        return Answer({},
                      input_.ConsumeBytes<std::uint8_t>(
                          input_.ConsumeIntegralInRange<std::size_t>(0, kReceiveBuffer)),
                      recvBuffer, recvLength);
    }
  }

 private:
  using Bytes = std::vector<std::uint8_t>;

  bool Fails() { return input_.remaining_bytes() > 0 && input_.ConsumeIntegralInRange(0, 31) == 0; }
  PcscLong Failure() {
    return ScardResult(
        kFailures[input_.ConsumeIntegralInRange<std::size_t>(0, kFailures.size() - 1)]);
  }
  static PcscLong Give(const Bytes& value, std::uint8_t* buffer, PcscDword* length) {
    if (buffer == nullptr) {
      *length = static_cast<PcscDword>(value.size());
      return 0;
    }
    if (*length < value.size()) return ScardResult(scard::E_INSUFFICIENT_BUFFER);
    std::copy(value.begin(), value.end(), buffer);
    *length = static_cast<PcscDword>(value.size());
    return 0;
  }
  static PcscLong Answer(const Bytes& data, const Bytes& tail, std::uint8_t* buffer,
                         PcscDword* length) {
    const std::size_t n = std::min<std::size_t>(data.size() + tail.size(), *length);
    for (std::size_t i = 0; i < n; ++i)
      buffer[i] = i < data.size() ? data[i] : tail[i - data.size()];
    *length = static_cast<PcscDword>(n);
    return 0;
  }

  FuzzedDataProvider& input_;
  std::size_t transmits_ = 0;
  bool endless_ = false;
  Bytes endlessData_;
  Bytes attribute_;
  PcscContext nextContext_ = 0x100;
  PcscHandle nextCard_ = 0x200;
};

bool IsUpperHex(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); });
}

bool IsStatusWord(const std::string& word) {
  return IsUpperHex(word) && (word.size() == 4 || word.size() == 2);
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// A hexadecimal text of a few bytes, sometimes with blanks or lower case, sometimes not hex.
std::string HexParam(FuzzedDataProvider& input) {
  static constexpr char kAlphabet[] = "0123456789ABCDEFabcdef 0123456789ABCDEFG";
  std::string text(input.ConsumeIntegralInRange<std::size_t>(0, 40), '0');
  const std::size_t alphabet = input.ConsumeBool() ? 16 : sizeof(kAlphabet) - 1;
  for (char& c : text) c = kAlphabet[input.ConsumeIntegralInRange<std::size_t>(0, alphabet - 1)];
  return text;
}

// The codes of the command table, and one or two that are not in it.
constexpr std::array<std::int32_t, 46> kCodes{cmd::Escape,
                                              cmd::EscapeExt,
                                              cmd::GetUID,
                                              cmd::ContinueResponse,
                                              cmd::LoadKey,
                                              cmd::GeneralAuthenticate,
                                              cmd::MifareClassicRead,
                                              cmd::MifareClassicWrite,
                                              cmd::ReadBinary,
                                              cmd::DesfireSelectApplication,
                                              cmd::DesfireAuthenticate1,
                                              cmd::DesfireAuthenticate2,
                                              cmd::DesfireAuthenticate3,
                                              cmd::DesfireGetVersion,
                                              cmd::DesfireFormat,
                                              cmd::DesfireGetApplications,
                                              cmd::DesfireCreateApplication,
                                              cmd::DesfireDeleteApplication,
                                              cmd::DesfireGetKeyVersion,
                                              cmd::DesfireGetKeySettings,
                                              cmd::DesfireChangeKey,
                                              cmd::DesfireChangeKeySettings,
                                              cmd::DesfireGetFileIds,
                                              cmd::DesfireGetFileSettings,
                                              cmd::DesfireChangeFileSettings1,
                                              cmd::DesfireChangeFileSettings2,
                                              cmd::DesfireCreateStdDataFile,
                                              cmd::DesfireCreateBackupDataFile,
                                              cmd::DesfireCreateValueFile,
                                              cmd::DesfireCreateLinearRecordFile,
                                              cmd::DesfireCreateCyclicRecordFile,
                                              cmd::DesfireDeleteFile,
                                              cmd::DesfireReadData,
                                              cmd::DesfireWriteData,
                                              cmd::DesfireReadRecords,
                                              cmd::DesfireWriteRecord,
                                              cmd::DesfireClearRecordFile,
                                              cmd::DesfireGetValue,
                                              cmd::DesfireDebit,
                                              cmd::DesfireCredit,
                                              cmd::DesfireLimitedCredit,
                                              cmd::DesfireCommitTransaction,
                                              cmd::DesfireAbortTransaction,
                                              cmd::DesfireSendNextData,
                                              0x0000,
                                              0x7FFF};

// Parameters that hold keys and cryptograms, by command: they must never reach the trace.
std::vector<int> SecretParams(std::int32_t code) {
  switch (code) {
    case cmd::LoadKey:
    case cmd::MifareClassicRead:
    case cmd::MifareClassicWrite:
    case cmd::DesfireChangeKey:
    case cmd::DesfireChangeFileSettings2:
      return {1};
    case cmd::DesfireAuthenticate3:
    case cmd::DesfireChangeKeySettings:
      return {0};
    case cmd::DesfireAuthenticate1:
      return {3, 4, 5};
    default:
      return {};
  }
}

struct Bench {
  explicit Bench(FuzzedDataProvider& input)
      : pcsc(std::make_shared<FuzzedPcsc>(input)),
        encoder(Platform{pcsc, std::make_shared<test::VirtualHost>(), nullptr}) {
    encoder.SetTraceSink(
        [this](std::string_view line) { trace.emplace_back(Upper(std::string(line))); });
    encoder.Parameters("Device=Fuzzed Reader 0");
  }
  std::shared_ptr<FuzzedPcsc> pcsc;
  std::vector<std::string> trace;
  Encoder encoder;
};

// A failed operation leaves a number in the last-error record and names itself there.
void CheckFailure(Encoder& encoder, sceReturnCode result, const char* name) {
  FUZZ_CHECK(result == sceSuccess || result == sceError);
  if (result == sceError) FUZZ_CHECK(encoder.LastError().Number() != 0);
  FUZZ_CHECK(encoder.LastError().ComFunction() == name);
}

void RunCommand(FuzzedDataProvider& input, Bench& bench) {
  const std::int32_t code =
      input.ConsumeBool() ? kCodes[input.ConsumeIntegralInRange<std::size_t>(0, kCodes.size() - 1)]
                          : input.ConsumeIntegral<std::int32_t>();
  std::vector<std::string> params(input.ConsumeIntegralInRange<std::size_t>(0, 8));
  for (auto& p : params)
    p = input.ConsumeBool() ? HexParam(input) : input.ConsumeRandomLengthString(24);
  bool autoContinue = input.ConsumeBool();
  // Response is in and out (a first ContinueResponse frame appends to it): callers start empty.
  std::string response;
  std::string statusWord = "stale";
  bench.trace.clear();
  const std::size_t before = bench.pcsc->transmits();
  const sceReturnCode result = EncoderTestPeer::EncoderCommand(bench.encoder, code, params,
                                                               response, statusWord, autoContinue);
  FUZZ_CHECK(bench.pcsc->transmits() - before <= kMaxFramesPerCommand);
  FUZZ_CHECK(result == sceSuccess || result == sceError);
  FUZZ_CHECK(IsUpperHex(response) && response.size() % 2 == 0);
  FUZZ_CHECK(response.size() <= kMaxChainedDigits);
  FUZZ_CHECK(statusWord == "FFFF" || IsStatusWord(statusWord));
  if (result == sceError) {
    FUZZ_CHECK(response.empty());
    FUZZ_CHECK(bench.encoder.LastError().Number() != 0);
  }
  for (const int index : SecretParams(code)) {
    if (static_cast<std::size_t>(index) >= params.size()) continue;
    std::string secret = Upper(params[static_cast<std::size_t>(index)]);
    std::erase(secret, ' ');
    if (secret.size() < 8 || !IsUpperHex(secret)) continue;
    for (const std::string& line : bench.trace) FUZZ_CHECK(line.find(secret) == std::string::npos);
  }
}

std::string Key(FuzzedDataProvider& input) {
  return input.ConsumeBool() ? "FF FF FF FF FF FF" : HexParam(input);
}

// Block contents as a host may give them: 32 hex digits, sometimes spaced or lower case, or not.
std::string Bloc(FuzzedDataProvider& input) {
  return input.ConsumeBool() ? "00112233445566778899aabbccddeeff" : HexParam(input);
}

std::optional<Variant> Bx(FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 4)) {
    case 0:
      return std::nullopt;
    case 1:
      return Variant::FromInt32(input.ConsumeIntegral<std::int32_t>());
    case 2:
      return Variant::FromDouble(input.ConsumeFloatingPoint<double>());
    case 3:
      return Variant::FromText(input.ConsumeRandomLengthString(8));
    default:
      return Variant::Null();
  }
}

template <typename Enum>
Enum AnyLevel(FuzzedDataProvider& input) {
  return static_cast<Enum>(input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 15)
                                               : input.ConsumeIntegral<std::int32_t>());
}

bool IsLevel(int value) {
  return value >= 0 && value <= 15;
}

// The MIFARE operations with any arguments against whatever the card answers.
void RunMifare(FuzzedDataProvider& input, Bench& bench) {
  Encoder& encoder = bench.encoder;
  const std::size_t before = bench.pcsc->transmits();
  const auto bloc = input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 255)
                                        : input.ConsumeIntegral<std::int32_t>();
  const std::string key = Key(input);
  const auto keyType = input.ConsumeIntegral<std::uint8_t>();
  switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0: {
      std::string contents = "stale";
      const sceReturnCode result = encoder.MifareReadDataBloc(bloc, key, keyType, contents);
      CheckFailure(encoder, result, "MifareReadDataBloc");
      if (result == sceSuccess) FUZZ_CHECK(IsUpperHex(contents) && contents.size() % 2 == 0);
      break;
    }
    case 1: {
      std::string contents = Bloc(input);
      CheckFailure(encoder, encoder.MifareWriteDataBloc(bloc, key, keyType, contents),
                   "MifareWriteDataBloc");
      break;
    }
    case 2: {
      std::int32_t serial = 0;
      std::uint8_t checkSum = 0;
      std::string info = "stale";
      const sceReturnCode result =
          encoder.MifareReadManufacturerCode(key, keyType, serial, checkSum, info);
      CheckFailure(encoder, result, "MifareReadManufacturerCode");
      if (result == sceSuccess) FUZZ_CHECK(info.size() == 22 && IsUpperHex(info));
      break;
    }
    case 3: {
      std::string contents = Bloc(input);
      const auto from = input.ConsumeIntegral<std::uint8_t>();
      const auto to = input.ConsumeIntegral<std::uint8_t>();
      const sceReturnCode result =
          encoder.MifareWriteBytesInBloc(bloc, key, keyType, from, to, contents);
      CheckFailure(encoder, result, "MifareWriteBytesInBloc");
      if (result == sceSuccess) FUZZ_CHECK(contents.size() == 32 && IsUpperHex(contents));
      break;
    }
    case 4:
      CheckFailure(
          encoder,
          encoder.MifareWriteValueBloc(bloc, key, keyType, input.ConsumeIntegral<std::int32_t>()),
          "MifareWriteValueBloc");
      break;
    case 5: {
      std::uint8_t keysUsed = 0;
      std::uint8_t bx = 0;
      SCBS_SecurityLevelEnum s0{}, s1{}, s2{};
      SCSS_SecurityLevelEnum conditions{};
      const sceReturnCode result =
          encoder.MifareReadSectorTrailer(bloc, key, keyType, keysUsed, s0, s1, s2, conditions, bx);
      CheckFailure(encoder, result, "MifareReadSectorTrailer");
      if (result == sceSuccess) {
        FUZZ_CHECK(IsLevel(s0) && IsLevel(s1) && IsLevel(s2) && IsLevel(conditions));
      }
      break;
    }
    case 6: {
      const std::string keyA = Key(input);
      const std::string keyB = Key(input);
      const auto keysToUse = input.ConsumeIntegral<std::uint8_t>();
      const auto s0 = AnyLevel<SCBS_SecurityLevelEnum>(input);
      const auto s1 = AnyLevel<SCBS_SecurityLevelEnum>(input);
      const auto s2 = AnyLevel<SCBS_SecurityLevelEnum>(input);
      const auto conditions = AnyLevel<SCSS_SecurityLevelEnum>(input);
      CheckFailure(encoder,
                   encoder.MifareWriteSectorTrailer(bloc, key, keyType, keyA, keyB, keysToUse, s0,
                                                    s1, s2, conditions, Bx(input)),
                   "MifareWriteSectorTrailer");
      break;
    }
    default:
      encoder.MifareSetAccessCondition(input.ConsumeIntegral<std::int32_t>(),
                                       input.ConsumeRandomLengthString(8));
      break;
  }
  // A MIFARE operation sends one frame, or a read and a write; it never follows a chain.
  FUZZ_CHECK(bench.pcsc->transmits() - before <= 2);
}

// A number as a host may pass it: usually small, sometimes anything.
std::int32_t Number(FuzzedDataProvider& input, std::int32_t small) {
  return input.ConsumeBool() ? input.ConsumeIntegralInRange(-1, small)
                             : input.ConsumeIntegral<std::int32_t>();
}

bool IsListOfHex(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return c == ',' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
  });
}

// The DESFire operations with any arguments against whatever the card answers; now and then with
// a session in place (as after an authentication), so enciphered exchanges meet garbage too.
void RunDesfire(FuzzedDataProvider& input, Bench& bench) {
  Encoder& e = bench.encoder;
  const std::size_t before = bench.pcsc->transmits();
  if (input.ConsumeIntegralInRange(0, 7) == 0) {
    EncoderTestPeer::ApplicationId(e) = input.ConsumeBool() ? "000000" : "112233";
    EncoderTestPeer::KeyNumber(e) = input.ConsumeIntegralInRange(-1, 14);
    EncoderTestPeer::SessionKey(e) = input.ConsumeBool() ? "0123456789ABCDEF0123456789ABCDEF"
                                                         : "0123456789ABCDEFFEDCBA9876543210";
  }
  const std::int32_t file = Number(input, 8);
  const std::int32_t key = Number(input, 14);
  const std::int32_t comm = Number(input, 3);
  const std::int32_t offset = Number(input, 300);
  const std::int32_t length = Number(input, 300);
  const bool hex = input.ConsumeBool();
  std::string text = hex ? HexParam(input) : input.ConsumeRandomLengthString(200);
  std::int32_t value = 0;
  const char* name = nullptr;
  sceReturnCode result = sceError;
  switch (input.ConsumeIntegralInRange(0, 33)) {
    case 0:
      name = "DESFireSelectRoot";
      result = e.DESFireSelectRoot(Key(input));
      break;
    case 1:
      name = "DESFireSelectApplication";
      result = e.DESFireSelectApplication(HexParam(input), key, HexParam(input));
      break;
    case 2:
      name = "DESFireFormat";
      result = e.DESFireFormat();
      break;
    case 3:
      name = "DESFireCreateApplication";
      result = e.DESFireCreateApplication(HexParam(input),
                                          static_cast<DesfireKeySettings>(Number(input, 255)), key);
      break;
    case 4:
      name = "DESFireDeleteApplication";
      result = e.DESFireDeleteApplication(HexParam(input));
      break;
    case 5: {
      name = "DESFireGetApplications";
      std::string list = "stale";
      result = e.DESFireGetApplications(list);
      if (result == sceSuccess) FUZZ_CHECK(IsListOfHex(list));
      break;
    }
    case 6: {
      name = "DESFireGetVersion";
      Variant information;
      result =
          e.DESFireGetVersion(static_cast<DesfireVersionBytes>(Number(input, 30)), information);
      break;
    }
    case 7:
      name = "DESFireChangeKey";
      result = e.DESFireChangeKey(key, HexParam(input), HexParam(input));
      break;
    case 8:
      name = "DESFireGetKeyVersion";
      result = e.DESFireGetKeyVersion(key, value);
      break;
    case 9: {
      name = "DESFireGetKeySettings";
      std::int32_t count = 0;
      result = e.DESFireGetKeySettings(value, count);
      break;
    }
    case 10:
      name = "DESFireChangeKeySettings";
      result = e.DESFireChangeKeySettings(static_cast<DesfireKeySettings>(Number(input, 255)));
      break;
    case 11: {
      name = "DESFireGetFileIDs";
      std::string ids = "stale";
      result = e.DESFireGetFileIDs(ids);
      break;
    }
    case 12:
      name = "DESFireCreateStdDataFile";
      result = e.DESFireCreateStdDataFile(file, comm, key, key, key, key, length);
      break;
    case 13:
      name = "DESFireCreateBackupDataFile";
      result = e.DESFireCreateBackupDataFile(file, comm, key, key, key, key, length);
      break;
    case 14:
      name = "DESFireCreateValueFile";
      result =
          e.DESFireCreateValueFile(file, comm, key, key, key, key, Number(input, 100),
                                   Number(input, 1000), Number(input, 100), input.ConsumeBool());
      break;
    case 15:
      name = "DESFireCreateLinearRecordFile";
      result = e.DESFireCreateLinearRecordFile(file, comm, key, key, key, key, length, offset);
      break;
    case 16:
      name = "DESFireCreateCyclicRecordFile";
      result = e.DESFireCreateCyclicRecordFile(file, comm, key, key, key, key, length, offset);
      break;
    case 17:
      name = "DESFireDeleteFile";
      result = e.DESFireDeleteFile(file);
      break;
    case 18: {
      name = "DESFireGetFileSettings";
      std::string information = "stale";
      result = e.DESFireGetFileSettings(file, information);
      break;
    }
    case 19:
      name = "DESFireChangeFileSettings";
      result = e.DESFireChangeFileSettings(file, comm, key, key, key, key);
      break;
    case 20:
      name = "DESFireWriteData";
      result = e.DESFireWriteData(file, offset, length, text, hex);
      break;
    case 21:
      name = "DESFireReadData";
      result = e.DESFireReadData(file, offset, length, text, hex);
      break;
    case 22:
      name = "DESFireWriteRecord";
      result = e.DESFireWriteRecord(file, offset, length, text, hex);
      break;
    case 23:
      name = "DESFireReadRecords";
      result = e.DESFireReadRecords(file, offset, length, text, hex);
      break;
    case 24:
      name = "DESFireClearRecordFile";
      result = e.DESFireClearRecordFile(file);
      break;
    case 25:
      name = "DESFireGetValue";
      result = e.DESFireGetValue(file, value);
      break;
    case 26:
      name = "DESFireDebit";
      result = e.DESFireDebit(file, Number(input, 100));
      break;
    case 27:
      name = "DESFireCredit";
      result = e.DESFireCredit(file, Number(input, 100));
      break;
    case 28:
      name = "DESFireLimitedCredit";
      result = e.DESFireLimitedCredit(file, Number(input, 100));
      break;
    case 29:
      name = "DESFireCommitTransaction";
      result = e.DESFireCommitTransaction();
      break;
    default:
      name = "DESFireAbortTransaction";
      result = e.DESFireAbortTransaction();
      break;
  }
  FUZZ_CHECK(result == sceSuccess || result == sceError);
  if (result == sceError) {
    // Every failure carries one of the component's numbers (9001xxxx) or a cipher's (A001xxxx).
    const auto number = static_cast<std::uint32_t>(e.LastError().Number());
    FUZZ_CHECK(number >> 16 == 0x9001 || number >> 16 == 0xA001 || number < 0x10000);
    FUZZ_CHECK(!e.LastError().Description().empty());
  }
  FUZZ_CHECK(e.LastError().ComFunction() == name);
  // A few commands each, every chain within the engine's bound.
  FUZZ_CHECK(bench.pcsc->transmits() - before <= 8 * kMaxFramesPerCommand);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Bench bench(input);
  Encoder& encoder = bench.encoder;
  encoder.SetOpenWait(std::chrono::milliseconds(0));
  int operations = 0;
  while (input.remaining_bytes() > 0 && ++operations < 64) {
    bench.pcsc->NextOperation();
    switch (input.ConsumeIntegralInRange(0, 19)) {
      case 0:
        CheckFailure(encoder, encoder.OpenEncoder(input.ConsumeIntegral<std::int32_t>()),
                     "OpenEncoder");
        break;
      case 1: {
        const sceReturnCode result = encoder.CloseEncoder();
        FUZZ_CHECK(result == sceSuccess || result == sceError);
        break;
      }
      case 2: {
        std::string serial = "stale";
        const sceReturnCode result = encoder.ReadSerialNumber(serial);
        CheckFailure(encoder, result, "ReadSerialNumber");
        FUZZ_CHECK(IsUpperHex(serial) && (result == sceSuccess || serial.empty()));
        break;
      }
      case 3: {
        std::string response = "stale";
        const sceReturnCode result = encoder.Escape(input.ConsumeRandomLengthString(64), response);
        CheckFailure(encoder, result, "Escape");
        FUZZ_CHECK(IsUpperHex(response) && (result == sceSuccess || response.empty()));
        break;
      }
      case 4: {
        std::string response = "stale";
        std::string retCode = "stale";
        const sceReturnCode result =
            encoder.EscapeExt(input.ConsumeRandomLengthString(64), response, retCode);
        CheckFailure(encoder, result, "EscapeExt");
        if (result == sceError) FUZZ_CHECK(response.empty() && retCode.empty());
        if (result == sceSuccess) FUZZ_CHECK(retCode == "FFFF" || IsStatusWord(retCode));
        break;
      }
      case 5: {
        const sceEncoderState state = encoder.EncoderState();
        FUZZ_CHECK(state == sceClosed || state == sceOpened || state == sceReady);
        break;
      }
      case 6:
        (void)encoder.ReaderType();
        (void)encoder.ATRString();
        (void)encoder.CardType();
        (void)encoder.SerialNumberLength();
        break;
      case 7:
        encoder.Parameters(std::string("Protocol=") + (input.ConsumeBool() ? "2" : "1") +
                           ";force_reconnect=" + (input.ConsumeBool() ? "1" : "0"));
        break;
      case 8:
      case 9:
      case 10:
      case 11:
        RunMifare(input, bench);
        break;
      case 12:
      case 13:
      case 14:
      case 15:
        RunDesfire(input, bench);
        break;
      default:
        RunCommand(input, bench);
        break;
    }
  }
  return 0;
}
