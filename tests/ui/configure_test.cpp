// The configuration dialog: its model (captions, reader and protocol lists, what each button hands
// back), Encoder::Configure through the dialogs seam, and the terminal view on the simulator.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "cli/terminal_configure_view.h"
#include "component/error_codes.h"
#include "component/texts.h"
#include "sim/mifare/mifare_classic_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/support/scripted_encoder.h"
#include "tests/support/virtual_host.h"
#include "ui/configure_model.h"

namespace lumivex::ui {
namespace {

using test::PcscCall;
using test::ScriptedPcsc;
using Names = std::vector<std::string>;

ConfigureRequest Request(std::shared_ptr<PcscApi> pcsc, std::string device = "",
                         std::int32_t protocol = 1, std::string language = "") {
  return {std::move(language), std::move(device), protocol, std::move(pcsc), 0};
}

TEST(ConfigureModel, ListsTheReadersAfterTheUnknownEntry) {
  const std::string longName(400, 'R');
  const struct {
    const char* name;
    std::vector<std::string> lists;
    Names readers;
    std::uint32_t result = 0;
  } cases[] = {
      {"none", {std::string(1, '\0')}, {}},
      {"no reader service", {}, {}, scard::E_NO_READERS_AVAILABLE},
      {"several", {std::string("A\0B 01\0C\0\0", 10)}, {"A", "B 01", "C"}},
      {"very long name", {longName + std::string(2, '\0')}, {longName}},
      {"no final zeros", {std::string("A\0B", 3)}, {"A", "B"}},
      {"a reader arrives", {std::string("A\0\0", 3), std::string("A\0B\0\0", 5)}, {"A", "B"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto pcsc = std::make_shared<ScriptedPcsc>();
    pcsc->readerLists = c.lists;
    if (c.result != 0) pcsc->QueueResult(PcscCall::ListReaders, c.result);
    const ConfigureModel model(Request(pcsc));
    Names expected = {"-- Unknown --"};
    expected.insert(expected.end(), c.readers.begin(), c.readers.end());
    EXPECT_EQ(model.readerEntries(), expected);
    EXPECT_EQ(ScardCode(model.listResult()), c.result);
    EXPECT_EQ(pcsc->calls().at(1), "ListReaders length");  // after its context, the length first
    EXPECT_EQ(pcsc->OpenContexts(), 0U);                   // its own context, released
  }
}

TEST(ConfigureModel, SelectsTheCurrentSettingsAndHandsBackTheChoice) {
  auto pcsc = std::make_shared<ScriptedPcsc>();
  pcsc->readerLists = {std::string("A\0B\0\0", 5)};
  const struct {
    const char* device;
    std::int32_t protocol;
    std::size_t reader;  // selected entries
    std::size_t protocolEntry;
    const char* okDevice;  // what OK hands back
    // clang-format off
  } cases[] = {{"B", 2, 2, 1, "B"}, {"A", 1, 1, 0, "A"}, {"<unknown>", 0, 0, 0, "-- Inconnu --"},
               {" A", 3, 0, 0, "-- Inconnu --"}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.device);
    ConfigureModel model(Request(pcsc, c.device, c.protocol, "francais"));
    EXPECT_EQ(model.selectedReader(), c.reader);
    EXPECT_EQ(model.selectedProtocol(), c.protocolEntry);
    EXPECT_EQ(model.protocolEntries(), (Names{"T=0", "T=1"}));
    model.SelectReader(9);  // out of range: ignored
    const ConfigureAnswer ok = model.Ok();
    EXPECT_TRUE(ok.confirmed);
    EXPECT_EQ(ok.device, c.okDevice);
    EXPECT_EQ(ok.protocol, static_cast<std::int32_t>(c.protocolEntry + 1));
    const ReaderTestRequest test = model.Test();
    EXPECT_EQ(std::tie(test.reader, test.protocol, test.language),
              std::tie(ok.device, ok.protocol, "francais"));
  }
  EXPECT_FALSE(ConfigureModel::Cancel().confirmed);
}

TEST(ConfigureModel, CaptionsByLanguage) {
  // clang-format off
  const Names french = {"Configuration de l'encodeur Orbanet Lumivex", "&Encodeur :", "-- Inconnu --",
                        "&Protocole :", "&Test encodeur...", "Annuler", "OK"};
  const Names english = {"Orbanet Lumivex encoder Configuration", "&Encoder:", "-- Unknown --",
                         "&Protocol:", "&Test settings...", "Cancel", "OK"};
  // clang-format on
  for (const auto& [language, expected] : std::vector<std::pair<const char*, Names>>{
           {"francais", french}, {"FRANCAIS", french}, {"", english}, {"français", english}}) {
    const auto pcsc = std::make_shared<ScriptedPcsc>();
    const ConfigureCaptions c = ConfigureModel(Request(pcsc, "", 1, language)).captions();
    EXPECT_EQ(Names({c.title, c.deviceLabel, c.unknownReader, c.protocolLabel, c.testButton,
                     c.cancelButton, c.okButton}),
              expected)
        << language;
  }
  EXPECT_EQ(WithoutAccelerators("&Test && go&"), "Test & go&");
}

// A dialog that records what it was given and answers through a callback.
struct FakeDialogs : Dialogs {
  std::function<ConfigureAnswer(const ConfigureRequest&)> answer;
  std::vector<ConfigureRequest> shown;
  ConfigureAnswer ShowConfigure(const ConfigureRequest& request) override {
    shown.push_back(request);
    return answer(request);
  }
};

TEST(Configure, HandsTheEncodersContextToTheDialogAndTakesBackTheChoice) {
  auto dialogs = std::make_shared<FakeDialogs>();
  test::ScriptedEncoder bench(nullptr, dialogs);
  std::string testLog;
  dialogs->answer = [&](const ConfigureRequest& request) {
    // The encoder's own context (the only one open), its card let go for the test.
    EXPECT_NE(request.context, 0);
    EXPECT_EQ(bench.pcsc->OpenContexts(), 1U);
    EXPECT_EQ(bench.pcsc->OpenCards(), 0U);
    ConfigureModel model(request);
    ReaderTest test(model.Test(), nullptr);
    test.OnTimer();
    testLog = test.log();
    model.SelectProtocol(1);
    return model.Ok();
  };
  for (const bool openFirst : {false, true}) {
    SCOPED_TRACE(openFirst ? "open, holding the card" : "closed: opened first");
    bench.encoder.Parameters("Device=Scripted Reader 0\r\nProtocol=1");
    if (openFirst) bench.Open();
    bench.trace.clear();
    EXPECT_EQ(bench.encoder.Configure("francais"), sceSuccess);
    EXPECT_EQ(test::Record(bench.encoder), std::make_tuple(0, "", "Configure", "", ""));
    EXPECT_EQ(bench.trace.front(), "--> Configure");
    EXPECT_EQ(bench.trace.back(), "<-- Configure");
    EXPECT_NE(bench.encoder.Parameters().find("Device=Scripted Reader 0\r\nProtocol=2\r\n"),
              std::string::npos);
    const ConfigureRequest& shown = dialogs->shown.back();
    EXPECT_EQ(std::tie(shown.language, shown.device, shown.protocol),
              std::make_tuple("francais", "Scripted Reader 0", 1));
    EXPECT_EQ(bench.pcsc->Count(PcscCall::EstablishContext), openFirst ? 0U : 1U);
    EXPECT_TRUE(testLog.ends_with("<< Test réussi >>")) << testLog;
    EXPECT_EQ(bench.pcsc->OpenContexts(), 1U);  // the encoder's context, lent, not released
    bench.encoder.CloseEncoder();
    bench.pcsc->ClearLog();
  }
}

TEST(Configure, CancelFailureAndMissingDialog) {
  auto dialogs = std::make_shared<FakeDialogs>();
  test::ScriptedEncoder bench(nullptr, dialogs);
  const std::string before = bench.encoder.Parameters();

  // A reader that is empty or unknown still opens, for the dialog to choose another.
  PcscContext lent = 0;
  dialogs->answer = [&](const ConfigureRequest& request) {
    lent = request.context;
    return ConfigureModel::Cancel();
  };
  for (const bool unknown : {false, true}) {
    bench.pcsc->SetCardPresent(unknown);
    bench.encoder.Parameters(unknown ? "Device=Elsewhere" : before);
    const std::string chosen = bench.encoder.Parameters();
    EXPECT_EQ(bench.encoder.Configure(""), sceCanceled);
    EXPECT_EQ(test::Record(bench.encoder), std::make_tuple(0, "", "Configure", "", ""));
    EXPECT_EQ(bench.encoder.Parameters(), chosen);
    EXPECT_NE(lent, 0);
    EXPECT_EQ(bench.pcsc->OpenContexts(), 1U);
    bench.encoder.CloseEncoder();
  }
  bench.encoder.Parameters(before);

  bench.pcsc->QueueResult(PcscCall::EstablishContext, scard::E_NO_SERVICE);
  EXPECT_EQ(bench.encoder.Configure(""), sceError);
  EXPECT_EQ(test::Record(bench.encoder),
            std::make_tuple(err::kCannotEstablish, "Cannot open encoder", "Configure",
                            "OpenEncoder:SCardEstablishContext",
                            SCardErrorText(static_cast<std::int32_t>(scard::E_NO_SERVICE))));
  EXPECT_EQ(dialogs->shown.size(), 2U);  // not shown again

  dialogs->answer = [](const ConfigureRequest&) -> ConfigureAnswer {
    throw std::runtime_error("no display");
  };
  EXPECT_EQ(bench.encoder.Configure(""), sceError);
  EXPECT_EQ(test::Record(bench.encoder),
            std::make_tuple(err::kNoDialog, "The configuration dialog failed: no display",
                            "Configure", "", ""));
  EXPECT_EQ(bench.encoder.Parameters(), before);

  test::ScriptedEncoder bare;  // no dialog binding at all: nothing is opened
  bare.pcsc->ClearLog();
  EXPECT_EQ(bare.encoder.Configure("francais"), sceError);
  EXPECT_EQ(test::Record(bare.encoder),
            std::make_tuple(err::kNoDialog, "No dialog can be shown", "Configure", "", ""));
  EXPECT_TRUE(bare.pcsc->calls().empty());
}

TEST(Configure, TerminalViewThroughAPipe) {
  const struct {
    const char* answers;
    sceReturnCode result;
    const char* parameters;  // expected in Parameters afterwards
  } cases[] = {
      // Reader 2, T=1, Test; then the same choices kept (Enter) and OK.
      {"2\n2\n1\n\n\n2\n", sceSuccess, "Device=Lumivex Simulator 0\r\nProtocol=2\r\n"},
      // A wrong answer is asked again; the end of the input cancels.
      {"7\nx\n2\n", sceCanceled, "Device=<unknown>\r\nProtocol=1\r\n"},
      {"1\n1\n3\n", sceCanceled, "Device=<unknown>\r\nProtocol=1\r\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.answers);
    auto sim = std::make_shared<sim::SimulatedPcsc>();
    sim->InsertCard(sim::MakeMifareClassic({}));
    std::istringstream in(c.answers);
    std::ostringstream out;
    Encoder encoder(Platform{sim, std::make_shared<test::VirtualHost>(), nullptr,
                             std::make_shared<cli::TerminalDialogs>(in, out, true)});
    EXPECT_EQ(encoder.Configure(""), c.result);
    EXPECT_NE(encoder.Parameters().find(c.parameters), std::string::npos) << out.str();
    EXPECT_EQ(out.str().find("<< Successful test >>") != std::string::npos, c.result == sceSuccess);
    EXPECT_NE(out.str().find("Orbanet Lumivex encoder Configuration\n\nEncoder:\n * 1  -- Unknown "
                             "--\n   2  Lumivex Simulator 0\n1-2 [1]> "),
              std::string::npos)
        << out.str();
  }
}

}  // namespace
}  // namespace lumivex::ui
