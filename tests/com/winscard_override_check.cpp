// Checks under Wine which winscard.dll the production binding (lumivex::WinscardApi) reaches, by
// making the calls the COM server makes.
//   winscard_override_check simulator: the test winscard.dll must answer, with the card that
//     LUMIVEX_SIM_CARD and LUMIVEX_SIM_UID (the same variables the DLL reads) describe;
//   winscard_override_check builtin: Wine's own winscard.dll must refuse a context (the path of
//     a machine whose smart-card service is not running), and the binding must keep every card
//     call away from it.
// One line per check, then a summary; the exit status is 0 only when every check passed.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// clang-format off
#include <windows.h>
#include <winscard.h>
// clang-format on

#include "component/hex.h"
#include "platform/windows/winscard_api.h"

namespace {

using namespace lumivex;

constexpr const char* kReader = "Lumivex Simulator 0";

std::string ResultText(std::uint32_t code) {
  char text[32];
  (void)std::snprintf(text, sizeof text, "result %08lX", static_cast<unsigned long>(code));
  return text;
}

class Checks {
 public:
  void Expect(bool passed, const std::string& what, const std::string& seen = {}) {
    ++count_;
    if (!passed) ++failed_;
    (void)std::printf("%s %s%s%s\n", passed ? "ok  " : "FAIL", what.c_str(),
                      seen.empty() ? "" : ": ", seen.c_str());
  }
  bool ExpectResult(PcscLong result, std::uint32_t expected, const std::string& what) {
    Expect(ScardCode(result) == expected, what, ResultText(ScardCode(result)));
    return ScardCode(result) == expected;
  }
  [[nodiscard]] int Finish() const {
    (void)std::printf("%d checks, %d failed\n", count_, failed_);
    return failed_ == 0 && count_ > 0 ? 0 : 1;
  }

 private:
  int count_ = 0;
  int failed_ = 0;
};

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string Hex(const std::vector<std::uint8_t>& bytes) {
  return BytesToHex(bytes);
}

// The card models as the DLL builds them: kind, ATR and the UID used when none is given.
struct CardModel {
  const char* kind;
  const char* atr;
  const char* defaultUid;
};
constexpr CardModel kModels[] = {
    {"mifare1k", "3B8F8001804F0CA000000306030001000000006A", "12345678"},
    {"mifare4k", "3B8F8001804F0CA0000003060300020000000069", "12345678"},
    {"desfire", "3B8180018080", "04112233445566"},
};

std::vector<std::uint8_t> Attribute(WinscardApi& api, PcscHandle card, PcscDword id,
                                    PcscLong& result) {
  std::vector<std::uint8_t> value(256);
  auto length = static_cast<PcscDword>(value.size());
  result = api.GetAttrib(card, id, value.data(), &length);
  value.resize(result == 0 ? length : 0);
  return value;
}

// The protocol headers a caller passes to SCardTransmit, read from the DLL's data exports.
void CheckProtocolHeaders(Checks& checks) {
  const HMODULE module = GetModuleHandleA("winscard.dll");
  const struct {
    const char* name;
    DWORD protocol;
  } headers[] = {{"g_rgSCardT0Pci", SCARD_PROTOCOL_T0},
                 {"g_rgSCardT1Pci", SCARD_PROTOCOL_T1},
                 {"g_rgSCardRawPci", SCARD_PROTOCOL_RAW}};
  for (const auto& header : headers) {
    const auto* pci = reinterpret_cast<const SCARD_IO_REQUEST*>(
        reinterpret_cast<const void*>(GetProcAddress(module, header.name)));
    checks.Expect(pci != nullptr && pci->dwProtocol == header.protocol &&
                      pci->cbPciLength == sizeof(SCARD_IO_REQUEST),
                  std::string("protocol header ") + header.name);
  }
}

void CheckSimulator(Checks& checks) {
  const std::string kind = Env("LUMIVEX_SIM_CARD").empty() ? "mifare1k" : Env("LUMIVEX_SIM_CARD");
  const CardModel* model = nullptr;
  for (const CardModel& candidate : kModels) {
    if (kind == candidate.kind) model = &candidate;
  }
  std::string uid = Env("LUMIVEX_SIM_UID");
  if (model != nullptr && uid.empty()) uid = model->defaultUid;
  // An unknown kind, or a UID that is not the model's length in hexadecimal, leaves the reader
  // empty as "none" does. IsHexString also upper-cases the UID, as the answer is printed.
  const bool cardExpected =
      model != nullptr &&
      IsHexString(uid, static_cast<std::int32_t>(std::strlen(model->defaultUid)));

  WinscardApi api;
  PcscContext context = 0;
  if (!checks.ExpectResult(api.EstablishContext(scard::SCOPE_SYSTEM, &context), 0,
                           "a context from the test winscard.dll")) {
    return;
  }
  PcscDword length = 0;
  (void)api.ListReaders(context, nullptr, &length);
  std::string list(length, '\0');
  checks.ExpectResult(api.ListReaders(context, list.data(), &length), 0, "reader list");
  checks.Expect(list == std::string(kReader) + '\0' + '\0', "the simulated reader is listed",
                list.substr(0, list.find('\0')));
  CheckProtocolHeaders(checks);

  PcscHandle card = 0;
  PcscDword protocol = 0;
  const PcscDword both = scard::PROTOCOL_T0 | scard::PROTOCOL_T1;
  const PcscLong connected =
      api.Connect(context, kReader, scard::SHARE_EXCLUSIVE, both, &card, &protocol);
  if (!cardExpected) {
    checks.ExpectResult(connected, scard::E_NO_SMARTCARD, "no card in the reader");
    checks.ExpectResult(api.ReleaseContext(context), 0, "release the context");
    return;
  }
  checks.ExpectResult(connected, 0, "connect exclusive");
  checks.Expect(protocol == scard::PROTOCOL_T1, "T=1 chosen");
  PcscHandle other = 0;
  checks.ExpectResult(api.Connect(context, kReader, scard::SHARE_SHARED, both, &other, &protocol),
                      scard::E_SHARING_VIOLATION, "a second connection is refused");

  std::string name;
  PcscDword state = 0;
  std::vector<std::uint8_t> atr(64);
  auto atrLength = static_cast<PcscDword>(atr.size());
  checks.ExpectResult(api.Status(card, &name, &state, &protocol, atr.data(), &atrLength), 0,
                      "status");
  atr.resize(atrLength <= atr.size() ? atrLength : 0);
  checks.Expect(name == kReader, "status names the reader", name);
  checks.Expect(state == (scard::STATE_PRESENT | scard::STATE_POWERED | scard::STATE_SPECIFIC),
                "status: powered with a protocol", std::to_string(state));
  checks.Expect(Hex(atr) == model->atr, "status ATR", Hex(atr));

  PcscLong result = 0;
  checks.Expect(Attribute(api, card, scard::ATTR_ATR_STRING, result) == atr && result == 0,
                "ATR attribute");
  const auto vendor = Attribute(api, card, scard::ATTR_VENDOR_NAME, result);
  checks.Expect(std::string(vendor.begin(), vendor.end()) == std::string("Lumivex") + '\0',
                "vendor attribute");
  (void)Attribute(api, card, 0x00020110 /* channel id */, result);
  checks.ExpectResult(result, scard::E_UNSUPPORTED_FEATURE, "unknown attribute, winscard's code");

  const std::uint8_t getUid[] = {0xFF, 0xCA, 0x00, 0x00, 0x00};
  const PcscIoRequest header{scard::PROTOCOL_T1, 8};
  std::vector<std::uint8_t> answer(258);
  auto answerLength = static_cast<PcscDword>(answer.size());
  checks.ExpectResult(
      api.Transmit(card, &header, getUid, sizeof getUid, nullptr, answer.data(), &answerLength), 0,
      "transmit get-UID");
  answer.resize(answerLength <= answer.size() ? answerLength : 0);
  checks.Expect(Hex(answer) == uid + "9000", "the card's UID", Hex(answer));

  checks.ExpectResult(api.Disconnect(card, scard::LEAVE_CARD), 0, "disconnect");
  checks.ExpectResult(api.ReleaseContext(context), 0, "release the context");
}

void CheckBuiltin(Checks& checks) {
  WinscardApi api;
  PcscContext context = 0;
  // Wine's stub answers an error of the smart-card family (SCARD_F_INTERNAL_ERROR in Wine 8).
  const std::uint32_t code = ScardCode(api.EstablishContext(scard::SCOPE_SYSTEM, &context));
  checks.Expect(code != 0 && (code & 0xFFFF0000U) == 0x80100000U,
                "Wine's own winscard.dll opens no context", ResultText(code));
  PcscHandle card = 0;
  PcscDword protocol = 0;
  checks.ExpectResult(
      api.Connect(context, kReader, scard::SHARE_EXCLUSIVE, scard::PROTOCOL_T1, &card, &protocol),
      scard::E_INVALID_HANDLE, "connect never reaches the library");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc == 2 ? argv[1] : "";
  if (mode != "simulator" && mode != "builtin") {
    (void)std::fprintf(stderr, "usage: winscard_override_check simulator|builtin\n");
    return 2;
  }
  Checks checks;
  try {
    if (mode == "simulator") {
      CheckSimulator(checks);
    } else {
      CheckBuiltin(checks);
    }
  } catch (const PcscCallError& error) {
    checks.Expect(false, "winscard.dll reached", error.what());
  }
  return checks.Finish();
}
