// Checks under Wine which winscard.dll the production binding (lumivex::WinscardApi) reaches, by
// making the calls the COM server makes.
//   winscard_override_check card ATR UID: the test winscard.dll must answer, with a card of that
//     ATR and UID in the simulated reader (tests/com/winscard-override-check.sh chooses it through
//     LUMIVEX_SIM_CARD and LUMIVEX_SIM_UID, the variables the DLL reads);
//   winscard_override_check empty: the test winscard.dll must answer, with no card in the reader;
//   winscard_override_check builtin: Wine's own winscard.dll must refuse a context (the path of
//     a machine whose smart-card service is not running), and the binding must keep every card
//     call away from it.
// One line per check, then a summary; the exit status is the number of failed checks.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// clang-format off
#include <windows.h>
#include <winscard.h>
// clang-format on

#include "component/hex.h"
#include "platform/windows/winscard_api.h"
#include "tests/com/check.h"

namespace {

using namespace lumivex;

constexpr const char* kReader = "Lumivex Simulator 0";

using wine::Checks;

std::string Code(PcscLong result) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(ScardCode(result)));
  return text;
}

bool Is(Checks& check, PcscLong result, std::uint32_t expected, const std::string& what) {
  return check.That(ScardCode(result) == expected, what + " (result " + Code(result) + ")");
}

// A null ATR: the reader must be empty.
void CheckSimulator(Checks& check, const char* expectedAtr, const std::string& uid) {
  WinscardApi api;
  PcscContext context = 0;
  if (!Is(check, api.EstablishContext(scard::SCOPE_SYSTEM, &context), 0,
          "a context from the test winscard.dll")) {
    return;
  }
  PcscDword length = 0;
  (void)api.ListReaders(context, nullptr, &length);
  std::string list(length, '\0');
  const PcscLong listed = api.ListReaders(context, list.data(), &length);
  check.That(ScardCode(listed) == 0 && list == std::string(kReader) + '\0' + '\0',
             "the simulated reader is listed: " + list.substr(0, list.find('\0')));

  PcscHandle card = 0;
  PcscDword protocol = 0;
  const PcscLong connected = api.Connect(context, kReader, scard::SHARE_EXCLUSIVE,
                                         scard::PROTOCOL_T0 | scard::PROTOCOL_T1, &card, &protocol);
  if (expectedAtr == nullptr) {
    Is(check, connected, scard::E_NO_SMARTCARD, "no card in the reader");
    Is(check, api.ReleaseContext(context), 0, "release the context");
    return;
  }
  check.That(ScardCode(connected) == 0 && protocol == scard::PROTOCOL_T1,
             "connect exclusive, T=1 chosen (result " + Code(connected) + ")");

  std::string name;
  PcscDword state = 0;
  std::vector<std::uint8_t> atr(64);
  auto atrLength = static_cast<PcscDword>(atr.size());
  const PcscLong status = api.Status(card, &name, &state, &protocol, atr.data(), &atrLength);
  atr.resize(atrLength <= atr.size() ? atrLength : 0);
  check.That(ScardCode(status) == 0 && name == kReader &&
                 state == (scard::STATE_PRESENT | scard::STATE_POWERED | scard::STATE_SPECIFIC) &&
                 BytesToHex(atr) == expectedAtr,
             "status: " + name + ", state " + std::to_string(state) + ", ATR " + BytesToHex(atr));
  std::vector<std::uint8_t> attribute(64);
  auto attributeLength = static_cast<PcscDword>(attribute.size());
  const PcscLong read =
      api.GetAttrib(card, scard::ATTR_ATR_STRING, attribute.data(), &attributeLength);
  attribute.resize(attributeLength <= attribute.size() ? attributeLength : 0);
  check.That(ScardCode(read) == 0 && attribute == atr, "the ATR attribute");

  const std::uint8_t getUid[] = {0xFF, 0xCA, 0x00, 0x00, 0x00};
  const PcscIoRequest header{scard::PROTOCOL_T1, 8};
  std::vector<std::uint8_t> answer(258);
  auto answerLength = static_cast<PcscDword>(answer.size());
  const PcscLong sent =
      api.Transmit(card, &header, getUid, sizeof getUid, nullptr, answer.data(), &answerLength);
  answer.resize(answerLength <= answer.size() ? answerLength : 0);
  check.That(ScardCode(sent) == 0 && BytesToHex(answer) == uid + "9000",
             "transmit get-UID: the card's UID " + BytesToHex(answer));
  check.That(ScardCode(api.Disconnect(card, scard::LEAVE_CARD)) == 0 &&
                 ScardCode(api.ReleaseContext(context)) == 0,
             "disconnect, release the context");
}

void CheckBuiltin(Checks& check) {
  WinscardApi api;
  PcscContext context = 0;
  // Wine's stub answers an error of the smart-card family (SCARD_F_INTERNAL_ERROR in Wine 8).
  const PcscLong opened = api.EstablishContext(scard::SCOPE_SYSTEM, &context);
  check.That(ScardCode(opened) != 0 && (ScardCode(opened) & 0xFFFF0000U) == 0x80100000U,
             "Wine's own winscard.dll opens no context (result " + Code(opened) + ")");
  PcscHandle card = 0;
  PcscDword protocol = 0;
  Is(check,
     api.Connect(context, kReader, scard::SHARE_EXCLUSIVE, scard::PROTOCOL_T1, &card, &protocol),
     scard::E_INVALID_HANDLE, "connect never reaches the library");
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (!(mode == "card" && argc == 4) && !(mode == "empty" && argc == 2) &&
      !(mode == "builtin" && argc == 2)) {
    (void)std::fprintf(stderr, "usage: winscard_override_check card ATR UID | empty | builtin\n");
    return 2;
  }
  Checks check("winscard_override_check");
  try {
    if (mode == "builtin") {
      CheckBuiltin(check);
    } else {
      CheckSimulator(check, mode == "card" ? argv[2] : nullptr, mode == "card" ? argv[3] : "");
    }
  } catch (const PcscCallError& error) {
    check.That(false, std::string("winscard.dll reached: ") + error.what());
  }
  return check.Finish();
}
