// The configuration dialog: its model (captions, reader and protocol lists, what each button hands
// back), Encoder::Configure through the dialogs seam, and the terminal view on the simulator.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/terminal_configure_view.h"
#include "component/error_codes.h"
#include "sim/mifare/mifare_classic_card.h"
#include "sim/simulated_pcsc.h"
#include "tests/support/encoder_test_peer.h"
#include "tests/support/scripted_encoder.h"
#include "tests/support/virtual_host.h"
#include "ui/configure_model.h"

namespace lumivex::ui {
namespace {

using test::PcscCall;
using test::ScriptedPcsc;
using Names = std::vector<std::string>;

// A reader whose list of reader names is given as the multi-string PC/SC hands over; a second
// list, when given, is what a reader plugged in after the first call makes of it.
class ListingPcsc : public ScriptedPcsc {
 public:
  std::vector<std::string> lists;  // served in turn, the last one for good
  std::vector<bool> askedWithBuffer;
  PcscLong ListReaders(PcscContext context, char* readers, PcscDword* length) override {
    askedWithBuffer.push_back(readers != nullptr);
    if (lists.size() > 1 && readers != nullptr) lists.erase(lists.begin());
    if (lists.empty()) return ScriptedPcsc::ListReaders(context, readers, length);
    const std::string& list = lists.front();
    if (readers != nullptr && *length < list.size()) {
      return ScardResult(scard::E_INSUFFICIENT_BUFFER);
    }
    if (readers != nullptr) list.copy(readers, list.size());
    *length = static_cast<PcscDword>(list.size());
    return 0;
  }
};

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
  } cases[] = {
      {"none", {std::string(1, '\0')}, {}},
      {"one", {std::string("Reader A\0\0", 10)}, {"Reader A"}},
      {"several", {std::string("A\0B 01\0C\0\0", 10)}, {"A", "B 01", "C"}},
      {"very long name", {longName + std::string(2, '\0')}, {longName}},
      {"no final zeros", {std::string("A\0B", 3)}, {"A", "B"}},
      {"a reader arrives between the calls",
       {std::string("A\0\0", 3), std::string("A\0B\0\0", 5)},
       {"A", "B"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto pcsc = std::make_shared<ListingPcsc>();
    pcsc->lists = c.lists;
    const ConfigureModel model(Request(pcsc));
    Names expected = {"-- Unknown --"};
    expected.insert(expected.end(), c.readers.begin(), c.readers.end());
    EXPECT_EQ(model.readerEntries(), expected);
    EXPECT_EQ(model.listResult(), 0);
    ASSERT_GE(pcsc->askedWithBuffer.size(), 2U);
    EXPECT_FALSE(pcsc->askedWithBuffer.front());  // the length first
    EXPECT_EQ(pcsc->OpenContexts(), 0U);          // its own context, released
  }
  auto failing = std::make_shared<ListingPcsc>();
  failing->QueueResult(PcscCall::ListReaders, scard::E_NO_READERS_AVAILABLE);
  const ConfigureModel empty(Request(failing));
  EXPECT_EQ(empty.readerEntries(), Names{"-- Unknown --"});
  EXPECT_EQ(ScardCode(empty.listResult()), scard::E_NO_READERS_AVAILABLE);
}

TEST(ConfigureModel, SelectsTheCurrentDeviceAndProtocol) {
  auto pcsc = std::make_shared<ListingPcsc>();
  pcsc->lists = {std::string("A\0B\0\0", 5)};
  const struct {
    const char* device;
    std::int32_t protocol;
    std::size_t reader;
    std::size_t protocolEntry;
  } cases[] = {{"B", 2, 2, 1}, {"A", 1, 1, 0}, {"<unknown>", 0, 0, 0}, {" A", 3, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.device);
    const ConfigureModel model(Request(pcsc, c.device, c.protocol));
    EXPECT_EQ(model.selectedReader(), c.reader);
    EXPECT_EQ(model.selectedProtocol(), c.protocolEntry);
    EXPECT_EQ(model.protocolEntries(), (Names{"T=0", "T=1"}));
  }
}

TEST(ConfigureModel, ButtonsHandBackTheChoice) {
  auto pcsc = std::make_shared<ListingPcsc>();
  pcsc->lists = {std::string("A\0B\0\0", 5)};
  ConfigureModel model(Request(pcsc, "A", 1, "francais"));
  model.SelectReader(2);
  model.SelectProtocol(1);
  model.SelectReader(9);  // out of range: ignored
  const ConfigureAnswer ok = model.Ok();
  EXPECT_TRUE(ok.confirmed);
  EXPECT_EQ(ok.device, "B");
  EXPECT_EQ(ok.protocol, 2);
  EXPECT_FALSE(ConfigureModel::Cancel().confirmed);
  const ReaderTestRequest test = model.Test();
  EXPECT_EQ(test.reader, "B");
  EXPECT_EQ(test.protocol, 2);
  EXPECT_EQ(test.language, "francais");
  EXPECT_EQ(test.pcsc, pcsc);
}

TEST(ConfigureModel, CaptionsByLanguage) {
  const auto pcsc = std::make_shared<ScriptedPcsc>();
  const ConfigureCaptions french = ConfigureModel(Request(pcsc, "", 1, "Francais")).captions();
  EXPECT_EQ(french.title, "Configuration de l'encodeur Orbanet Lumivex");
  EXPECT_EQ(
      Names({french.deviceLabel, french.unknownReader, french.protocolLabel, french.testButton,
             french.cancelButton}),
      Names({"&Encodeur :", "-- Inconnu --", "&Protocole :", "&Test encodeur...", "Annuler"}));
  for (const char* language : {"", "english", "français"}) {
    const ConfigureCaptions english = ConfigureModel(Request(pcsc, "", 1, language)).captions();
    EXPECT_EQ(english.title, "Orbanet Lumivex encoder Configuration");
    EXPECT_EQ(Names({english.deviceLabel, english.unknownReader, english.protocolLabel,
                     english.testButton, english.cancelButton}),
              Names({"&Encoder:", "-- Unknown --", "&Protocol:", "&Test settings...", "Cancel"}));
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
  std::vector<std::string> testLines;
  dialogs->answer = [&](const ConfigureRequest& request) {
    EXPECT_EQ(request.context, EncoderTestPeer::Context(bench.encoder));
    EXPECT_EQ(bench.pcsc->OpenCards(), 0U);  // the encoder let its card go for the test
    ConfigureModel model(request);
    ReaderTest test(model.Test(), [&](const std::string& line) { testLines.push_back(line); });
    test.OnTimer();
    EXPECT_TRUE(test.succeeded()) << test.log();
    model.SelectProtocol(1);
    return model.Ok();
  };
  const struct {
    const char* name;
    bool openFirst;
  } cases[] = {{"closed: opened first", false}, {"open, holding the card", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    bench.encoder.Parameters("Device=Scripted Reader 0\r\nProtocol=1");
    if (c.openFirst) bench.Open();
    bench.trace.clear();
    EXPECT_EQ(bench.encoder.Configure("francais"), sceSuccess);
    EXPECT_EQ(bench.encoder.LastError().Number(), 0);
    EXPECT_EQ(bench.encoder.LastError().ComFunction(), "Configure");
    EXPECT_EQ(bench.trace.front(), "--> Configure");
    EXPECT_EQ(bench.trace.back(), "<-- Configure");
    EXPECT_NE(bench.encoder.Parameters().find("Device=Scripted Reader 0\r\nProtocol=2\r\n"),
              std::string::npos);
    EXPECT_EQ(dialogs->shown.back().language, "francais");
    EXPECT_EQ(dialogs->shown.back().device, "Scripted Reader 0");
    EXPECT_EQ(dialogs->shown.back().protocol, 1);
    EXPECT_EQ(bench.pcsc->Count(PcscCall::EstablishContext), c.openFirst ? 0U : 1U);
    EXPECT_EQ(testLines.back(), "<< Test réussi >>");
    bench.encoder.CloseEncoder();
    bench.pcsc->ClearLog();
  }
}

TEST(Configure, CancelFailureAndMissingDialog) {
  auto dialogs = std::make_shared<FakeDialogs>();
  test::ScriptedEncoder bench(nullptr, dialogs);
  const std::string before = bench.encoder.Parameters();

  dialogs->answer = [](const ConfigureRequest&) { return ConfigureModel::Cancel(); };
  bench.pcsc->SetCardPresent(false);  // an empty reader still opens
  EXPECT_EQ(bench.encoder.Configure(""), sceCanceled);
  EXPECT_EQ(bench.encoder.LastError().Number(), 0);
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "Configure");
  EXPECT_EQ(bench.encoder.Parameters(), before);
  bench.encoder.CloseEncoder();

  bench.pcsc->QueueResult(PcscCall::EstablishContext, scard::E_NO_SERVICE);
  EXPECT_EQ(bench.encoder.Configure(""), sceError);
  EXPECT_EQ(bench.encoder.LastError().Number(), err::kCannotEstablish);
  EXPECT_EQ(bench.encoder.LastError().Description(), "Cannot open encoder");
  EXPECT_EQ(bench.encoder.LastError().ComFunction(), "Configure");
  EXPECT_EQ(bench.encoder.LastError().RdrCommand(), "OpenEncoder:SCardEstablishContext");
  EXPECT_EQ(dialogs->shown.size(), 1U);  // not shown again

  dialogs->answer = [](const ConfigureRequest&) -> ConfigureAnswer {
    throw std::runtime_error("no display");
  };
  EXPECT_EQ(bench.encoder.Configure(""), sceError);
  EXPECT_EQ(bench.encoder.LastError().Number(), err::kNoDialog);
  EXPECT_EQ(bench.encoder.LastError().Description(), "The configuration dialog failed: no display");
  EXPECT_EQ(bench.encoder.Parameters(), before);

  test::ScriptedEncoder bare;  // no dialog binding at all
  bare.pcsc->ClearLog();
  EXPECT_EQ(bare.encoder.Configure("francais"), sceError);
  EXPECT_EQ(bare.encoder.LastError().Number(), err::kNoDialog);
  EXPECT_EQ(bare.encoder.LastError().Description(), "No dialog can be shown");
  EXPECT_EQ(bare.encoder.LastError().ComFunction(), "Configure");
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
