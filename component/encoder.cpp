// The Encoder object itself: construction, the Parameters text, the last-error record and the
// trace log with its masking of secrets.
#include "component/encoder.h"

#include <algorithm>
#include <cctype>
#include <random>

#include "component/numeric_text.h"
#include "crypto/des.h"
#include "crypto/secure_memory.h"
#include "platform/host.h"
#include "platform/text/windows_1252_code_page.h"

namespace lumivex {

namespace {

constexpr const char* kCrLf = "\r\n";
// The default text applied at construction (the capability line deliberately without DESFire).
constexpr const char* kDefaultParameters =
    "Encoding capabilities=Mifare Classic, Mifare Ultralight\r\n"
    "Device=<unknown>\r\n"
    "Protocol=1\r\n"
    "force_reconnect=1";
// The secret list is bounded: the oldest secret is forgotten (and wiped) first.
constexpr std::size_t kMaxSecrets = 64;
// Shorter hexadecimal texts are not keys; masking them would blank ordinary trace text.
constexpr std::size_t kMinSecretDigits = 8;

std::string TrimBlanks(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  const auto last = text.find_last_not_of(' ');
  return text.substr(first, last - first + 1);
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::vector<std::string> SplitItems(const std::string& text) {
  const std::string separator = text.find(kCrLf) != std::string::npos ? kCrLf : ";";
  std::vector<std::string> items;
  std::size_t start = 0;
  for (;;) {
    const auto end = text.find(separator, start);
    if (end == std::string::npos) {
      items.push_back(text.substr(start));
      return items;
    }
    items.push_back(text.substr(start, end - start));
    start = end + separator.size();
  }
}

// "A1B2C3" -> "A1 B2 C3": the spaced form in which trace lines show byte strings.
std::string Spaced(const std::string& compact) {
  std::string spaced;
  for (std::size_t i = 0; i < compact.size(); i += 2) {
    if (i > 0) spaced += ' ';
    spaced += compact.substr(i, 2);
  }
  return spaced;
}

// Replaces every occurrence of needle (searched in the upper-cased copy) by '*' in both texts.
void MaskAll(std::string& line, std::string& upper, const std::string& needle) {
  if (needle.empty()) return;
  for (auto at = upper.find(needle); at != std::string::npos; at = upper.find(needle, at)) {
    std::fill_n(line.begin() + static_cast<std::ptrdiff_t>(at), needle.size(), '*');
    std::fill_n(upper.begin() + static_cast<std::ptrdiff_t>(at), needle.size(), '*');
    at += needle.size();
  }
}

// Stands in when an Encoder is built without a host binding: the system clock, no message queue to
// run, a local generator and no cryptographic one (an authentication then fails cleanly). Keeps
// such an object usable instead of crashing on first use.
class FallbackHost : public Host {
 public:
  std::chrono::system_clock::time_point Now() override { return std::chrono::system_clock::now(); }
  LocalDateTime LocalNow() override { return {}; }
  void WaitPumpingMessages(std::chrono::milliseconds /*duration*/) override {}
  void Randomize(std::uint64_t seed) override { generator_.seed(seed); }
  double Random() override { return uniform_(generator_); }
  bool FillRandom(std::span<std::uint8_t> /*bytes*/) override { return false; }

 private:
  std::mt19937_64 generator_{0};  // NOLINT(cert-msc32-c,cert-msc51-cpp): Randomize reseeds it
  std::uniform_real_distribution<double> uniform_{0.0, 1.0};
};

// Stands in when an Encoder is built without a PC/SC binding: every call is one that cannot be
// made, which the session and the engine report like a missing system library.
class UnavailablePcsc : public PcscApi {
 public:
  PcscLong EstablishContext(PcscDword, PcscContext*) override { Fail(); }
  PcscLong ReleaseContext(PcscContext) override { Fail(); }
  PcscLong ListReaders(PcscContext, char*, PcscDword*) override { Fail(); }
  PcscLong Connect(PcscContext, const std::string&, PcscDword, PcscDword, PcscHandle*,
                   PcscDword*) override {
    Fail();
  }
  PcscLong Disconnect(PcscHandle, PcscDword) override { Fail(); }
  PcscLong Status(PcscHandle, std::string*, PcscDword*, PcscDword*, std::uint8_t*,
                  PcscDword*) override {
    Fail();
  }
  PcscLong GetAttrib(PcscHandle, PcscDword, std::uint8_t*, PcscDword*) override { Fail(); }
  PcscLong Transmit(PcscHandle, const PcscIoRequest*, const std::uint8_t*, PcscDword,
                    PcscIoRequest*, std::uint8_t*, PcscDword*) override {
    Fail();
  }

 private:
  [[noreturn]] static void Fail() { throw PcscCallError(53, "PC/SC library not available"); }
};

}  // namespace

Encoder::Encoder(Platform platform) : platform_(std::move(platform)) {
  if (!platform_.host) platform_.host = std::make_shared<FallbackHost>();
  if (!platform_.pcsc) platform_.pcsc = std::make_shared<UnavailablePcsc>();
  if (!platform_.codePage) platform_.codePage = std::make_shared<Windows1252CodePage>();
  try {
    Trace("--> Constructor");
    Parameters(kDefaultParameters);
    hContext_ = 0;
    hCard_ = 0;
    LetATRString("");
    platform_.host->Randomize(
        static_cast<std::uint64_t>(platform_.host->Now().time_since_epoch().count()));
    ClearLastError();
    Trace("<-- Constructor");
  } catch (...) {
    // A constructor has no result to report through; the object stays closed and usable.
  }
}

Encoder::~Encoder() {
  try {
    Trace("--> Destructor");
    CloseEncoderQuietly();
    Trace("<-- Destructor");
  } catch (...) {
  }
  for (auto& secret : secrets_) crypto::SecureWipe(secret);
  WipeDesfireSession();  // the DESFire session key and whatever else that session holds
}

std::string Encoder::Parameters() {
  try {
    Trace("--> Get Parameters");
    std::string text = "Encoding capabilities=Mifare Classic, Mifare Ultralight, Mifare DESFire";
    text += kCrLf;
    text += "Device=" + device_ + kCrLf;
    text += "Protocol=" + std::to_string(protocol_) + kCrLf;
    text += std::string("Force_Reconnect=") + (forceReconnect_ ? "1" : "0");
    FinishLastError("Parameters");
    Trace("<-- Get Parameters");
    return text;
  } catch (...) {
    return "";
  }
}

void Encoder::Parameters(const std::string& text) {
  try {
    Trace("--> Set Parameters = \"" + text + "\"");
    ClearLastError();
    for (const std::string& item : SplitItems(text)) {
      const auto equals = item.find('=');
      const std::string key = Lower(TrimBlanks(item.substr(0, equals)));
      const std::string value = equals == std::string::npos ? "" : item.substr(equals + 1);
      if (key == "device") {
        device_ = value;
      } else if (key == "protocol") {
        protocol_ = RoundToInt32(LeadingNumber(value));
      } else if (key == "force_reconnect") {
        forceReconnect_ = LeadingNumber(value) != 0.0;
      }
    }
    FinishLastError("Parameters");
    Trace("<-- Set Parameters");
  } catch (...) {
  }
}

CError& Encoder::LastError() {
  if (!lastError_) lastError_ = std::make_unique<CError>();
  return *lastError_;
}

void Encoder::WriteLog(const std::string& sMessage) {
  try {
    if (!traceSink_) return;
    if (secrets_.empty()) {
      traceSink_(sMessage);
      return;
    }
    std::string line = sMessage;
    std::string upper = Upper(sMessage);
    for (const std::string& secret : secrets_) {
      MaskAll(line, upper, secret);
      std::string spaced = Spaced(secret);
      MaskAll(line, upper, spaced);
      crypto::SecureWipe(spaced);
    }
    crypto::SecureWipe(upper);
    traceSink_(line);
  } catch (...) {
    // A failing sink never disturbs the operation that traced.
  }
}

void Encoder::SetTraceSink(TraceSink sink) {
  traceSink_ = std::move(sink);
}

void Encoder::SetOpenWait(std::chrono::milliseconds wait) {
  openWait_ = std::max(wait, std::chrono::milliseconds(0));
}

void Encoder::SetLastError(const ErrorFields& fields) {
  CError& record = LastError();
  if (fields.Number) record.Number(*fields.Number);
  if (fields.Description) record.Description(*fields.Description);
  if (fields.LastDllError) record.LastDllError(*fields.LastDllError);
  if (fields.ComFunction) record.ComFunction(*fields.ComFunction);
  if (fields.RdrCommand) record.RdrCommand(*fields.RdrCommand);
  if (fields.RdrRetCode) record.RdrRetCode(*fields.RdrRetCode);
}

void Encoder::ClearLastError(const std::string& ComFunction) {
  SetLastError({.Number = 0,
                .Description = "",
                .LastDllError = 0,
                .ComFunction = ComFunction,
                .RdrCommand = "",
                .RdrRetCode = ""});
}

void Encoder::FinishLastError(const std::string& FunctionName) {
  CError& record = LastError();
  const std::string cf = record.ComFunction();
  const std::string rc = record.RdrCommand();
  record.ComFunction(FunctionName);
  if (!cf.empty()) record.RdrCommand(rc.empty() ? cf : cf + ":" + rc);
}

void Encoder::Trace(const std::string& line) {
  WriteLog(line);
}

void Encoder::RememberSecret(const std::string& hex) {
  std::string secret;
  secret.reserve(hex.size());  // grown in place: no partial copy left behind in freed memory
  bool hexadecimal = true;
  for (const char c : hex) {
    if (c == ' ') continue;
    hexadecimal = hexadecimal && std::isxdigit(static_cast<unsigned char>(c)) != 0;
    secret += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  if (!hexadecimal || secret.size() < kMinSecretDigits ||
      std::find(secrets_.begin(), secrets_.end(), secret) != secrets_.end()) {
    crypto::SecureWipe(secret);
    return;
  }
  // Room for every secret up front: a reallocation would leave copies of keys in freed memory.
  if (secrets_.capacity() < kMaxSecrets) secrets_.reserve(kMaxSecrets);
  if (secrets_.size() < kMaxSecrets) {
    secrets_.push_back(secret);
  } else {
    // Forget the oldest: shift in place, wiping each slot before it takes its successor's text.
    for (std::size_t i = 0; i + 1 < secrets_.size(); ++i) {
      crypto::SecureWipe(secrets_[i]);
      secrets_[i].assign(secrets_[i + 1]);
    }
    crypto::SecureWipe(secrets_.back());
    secrets_.back().assign(secret);
  }
  crypto::SecureWipe(secret);
}

crypto::DES& Encoder::Des() {
  if (!des_) des_ = std::make_unique<crypto::DES>(platform_.codePage);
  return *des_;
}

}  // namespace lumivex
