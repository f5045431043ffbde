// The reader test: every line it shows, in both languages, for the outcomes a reader can give.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/scripted_pcsc.h"
#include "ui/reader_test.h"

namespace lumivex::ui {
namespace {

using test::PcscCall;
using test::ScriptedPcsc;
using Lines = std::vector<std::string>;

std::string Opening(bool french, const std::string& protocol) {
  return std::string(french ? "Ouverture de l'encodeur \"" : "Opening encoder \"") +
         ScriptedPcsc::kReaderName + (french ? "\", protocole " : "\", protocol ") + protocol +
         "...";
}

struct Case {
  const char* name;
  const char* language;
  bool french;
  std::int32_t protocol;
  const char* shown;  // the protocol as the opening line names it
  std::function<void(ScriptedPcsc&)> setup;
  Lines expected;  // after the first line
  bool succeeded;
};

TEST(ReaderTest, ShowsEveryLineOfEachOutcome) {
  const auto none = [](ScriptedPcsc&) {};
  const Lines card = {"Card available in the encoder.", "Vendor name: Scripted Devices",
                      "Type: SR-1", "Version: 2.0.1793", "Serial number: SN0001"};
  const auto opened = [](bool french, const char* protocol, Lines lines) {
    Lines all = {
        french ? std::string("Ouvert. Protocole actif: ") + protocol
               : std::string("Encoder open. Active protocol: ") + protocol,
        std::string(french ? "Type d'encodeur : " : "Encoder type: ") + ScriptedPcsc::kReaderName};
    all.insert(all.end(), lines.begin(), lines.end());
    all.push_back(french ? "Fermeture de l'encodeur" : "Closing the encoder...");
    all.push_back(french ? "<< Test réussi >>" : "<< Successful test >>");
    return all;
  };
  // clang-format off
  const std::vector<Case> cases = {
      {"card, English", "", false, 2, "T=1", none, opened(false, "T=1", card), true},
      {"card, French", "francais", true, 1, "T=0", none,
       opened(true, "T=0", {"Carte présente dans l'encodeur.", "Fabricant: Scripted Devices", "Type: SR-1",
                            "Version: 2.0.1793", "Numéro de série: SN0001"}), true},
      {"attributes with and without their zero", "English", false, 2, "T=1",
       [](ScriptedPcsc& p) {
         p.SetAttribute(scard::ATTR_VENDOR_NAME, {'A', 'B'});
         p.SetAttribute(scard::ATTR_VENDOR_IFD_TYPE, {'X'});
         p.SetAttribute(scard::ATTR_VENDOR_IFD_VERSION, {1, 2});
         p.SetAttribute(scard::ATTR_VENDOR_IFD_SERIAL_NO, {'S', 0, 'x', 0});
         p.QueueResult(PcscCall::GetAttrib, scard::E_NOT_READY);  // no name: SCardStatus's
       },
       opened(false, "T=1", {"Card available in the encoder.", "Vendor name: AB", "Type: ", "Version: 1.2.0",
                             "Serial number: S"}), true},
      {"card left during the connect", "deutsch", false, 1, "T=0",
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::Connect, scard::W_REMOVED_CARD); },
       opened(false, "unknown", {"No card available in the encoder."}), true},
      {"status reports no card", "FRANCAIS", true, 7, "inconnu",
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::Status, scard::W_REMOVED_CARD); },
       opened(true, "T=1", {"Pas de carte dans l'encodeur."}), true},
      {"no card: negative error number", "français", false, 1, "T=0", [](ScriptedPcsc& p) { p.SetCardPresent(false); },
       {"Error 0x8010000C: No Smart Card is currently in the device (SCARD_E_NO_SMARTCARD).Unable to open encoder: ",
        "Failed to open the encoder.", "<< Test failed >>"}, false},
      {"positive error number", "francais", true, 1, "T=0", [](ScriptedPcsc& p) { p.QueueResult(PcscCall::Connect, 5); },
       {"Erreur 5 : Unexpected error 0x5Unable to open encoder: ", "Impossible d'ouvrir l'encodeur.",
        "<< Echec du test >>"}, false},
      {"no context", "", false, 1, "T=0",
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::EstablishContext, scard::E_NO_SERVICE); },
       {"Error 0x8010001D: The Smart card resource manager is not running (SCARD_E_NO_SERVICE).Unable to open "
        "encoder: ", "Failed to open the encoder.", "<< Test failed >>"}, false},
      {"connect cannot be called", "", false, 1, "T=0",
       [](ScriptedPcsc& p) { p.ThrowOnNext(PcscCall::Connect, 453, "Entry point not found"); },
       {"Error 453: Entry point not found", "Failed to open the encoder.", "<< Test failed >>"}, false},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto pcsc = std::make_shared<ScriptedPcsc>();
    c.setup(*pcsc);
    Lines lines;
    ReaderTest test({c.language, ScriptedPcsc::kReaderName, c.protocol, pcsc, 0},
                    [&lines](const std::string& line) { lines.push_back(line); });
    test.OnTimer();
    test.OnTimer();  // later ticks run nothing
    Lines expected = {c.french ? "Début du test." : "Starting the test.",
                      Opening(c.french, c.shown)};
    expected.insert(expected.end(), c.expected.begin(), c.expected.end());
    EXPECT_EQ(lines, expected);
    EXPECT_TRUE(test.finished());
    EXPECT_EQ(test.succeeded(), c.succeeded);
    std::string joined;
    for (const auto& line : lines) joined += (joined.empty() ? "" : "\r\n") + line;
    EXPECT_EQ(test.log(), joined);
    // The test's own context and card connection are both let go.
    EXPECT_EQ(pcsc->OpenContexts(), 0U);
    EXPECT_EQ(pcsc->OpenCards(), 0U);
  }
}

}  // namespace
}  // namespace lumivex::ui
