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
  std::function<void(ScriptedPcsc&)> setup;
  Lines expected;  // after the first line
  bool succeeded;
};

TEST(ReaderTest, ShowsEveryLineOfEachOutcome) {
  const std::vector<Case> cases = {
      {"card, English",
       "",
       false,
       2,
       [](ScriptedPcsc&) {},
       {Opening(false, "T=1"), "Encoder open. Active protocol: T=1",
        "Encoder type: Scripted Reader 0", "Card available in the encoder.",
        "Vendor name: Scripted Devices", "Type: SR-1", "Version: 2.0.1793", "Serial number: SN0001",
        "Closing the encoder...", "<< Successful test >>"},
       true},
      {"card, French",
       "francais",
       true,
       1,
       [](ScriptedPcsc&) {},
       {Opening(true, "T=0"), "Ouvert. Protocole actif: T=0", "Type d'encodeur : Scripted Reader 0",
        "Carte présente dans l'encodeur.", "Fabricant: Scripted Devices", "Type: SR-1",
        "Version: 2.0.1793", "Numéro de série: SN0001", "Fermeture de l'encodeur",
        "<< Test réussi >>"},
       true},
      {"attributes with and without their zero",
       "English",
       false,
       2,
       [](ScriptedPcsc& p) {
         p.SetAttribute(scard::ATTR_VENDOR_NAME, {'A', 'B'});
         p.SetAttribute(scard::ATTR_VENDOR_IFD_TYPE, {'X'});
         p.SetAttribute(scard::ATTR_VENDOR_IFD_VERSION, {1, 2});
         p.SetAttribute(scard::ATTR_VENDOR_IFD_SERIAL_NO, {'S', 0, 'x', 0});
         p.QueueResult(PcscCall::GetAttrib, scard::E_NOT_READY);  // no name: SCardStatus's
       },
       {Opening(false, "T=1"), "Encoder open. Active protocol: T=1",
        "Encoder type: Scripted Reader 0", "Card available in the encoder.", "Vendor name: AB",
        "Type: ", "Version: 1.2.0", "Serial number: S", "Closing the encoder...",
        "<< Successful test >>"},
       true},
      {"card left during the connect",
       "deutsch",
       false,
       1,
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::Connect, scard::W_REMOVED_CARD); },
       {Opening(false, "T=0"), "Encoder open. Active protocol: unknown",
        "Encoder type: Scripted Reader 0", "No card available in the encoder.",
        "Closing the encoder...", "<< Successful test >>"},
       true},
      {"status reports no card",
       "FRANCAIS",
       true,
       7,
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::Status, scard::W_REMOVED_CARD); },
       {Opening(true, "inconnu"), "Ouvert. Protocole actif: T=1",
        "Type d'encodeur : Scripted Reader 0", "Pas de carte dans l'encodeur.",
        "Fermeture de l'encodeur", "<< Test réussi >>"},
       true},
      {"no card: negative error number",
       "français",
       false,
       1,
       [](ScriptedPcsc& p) { p.SetCardPresent(false); },
       {Opening(false, "T=0"),
        "Error 0x8010000C: No Smart Card is currently in the device (SCARD_E_NO_SMARTCARD)."
        "Unable to open encoder: ",
        "Failed to open the encoder.", "<< Test failed >>"},
       false},
      {"positive error number",
       "francais",
       true,
       1,
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::Connect, 5); },
       {Opening(true, "T=0"), "Erreur 5 : Unexpected error 0x5Unable to open encoder: ",
        "Impossible d'ouvrir l'encodeur.", "<< Echec du test >>"},
       false},
      {"no context",
       "",
       false,
       1,
       [](ScriptedPcsc& p) { p.QueueResult(PcscCall::EstablishContext, scard::E_NO_SERVICE); },
       {Opening(false, "T=0"),
        "Error 0x8010001D: The Smart card resource manager is not running (SCARD_E_NO_SERVICE)."
        "Unable to open encoder: ",
        "Failed to open the encoder.", "<< Test failed >>"},
       false},
      {"connect cannot be called",
       "",
       false,
       1,
       [](ScriptedPcsc& p) { p.ThrowOnNext(PcscCall::Connect, 453, "Entry point not found"); },
       {Opening(false, "T=0"), "Error 453: Entry point not found", "Failed to open the encoder.",
        "<< Test failed >>"},
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto pcsc = std::make_shared<ScriptedPcsc>();
    c.setup(*pcsc);
    Lines lines;
    ReaderTest test({c.language, ScriptedPcsc::kReaderName, c.protocol, pcsc, 0},
                    [&lines](const std::string& line) { lines.push_back(line); });
    test.OnTimer();
    test.OnTimer();  // later ticks run nothing
    Lines expected = {c.french ? "Début du test." : "Starting the test."};
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
