#include "cli/script_runner.h"

#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>

#include "cli/output.h"
#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"
#include "tests/support/simulated_encoder.h"

namespace lumivex::cli {
namespace {

class ScriptRunnerTest : public ::testing::Test {
 protected:
  int Run(const std::string& script, bool json = false) {
    out_.str("");
    err_.str("");
    return RunScript(encoder_, script, json, out_, err_);
  }

  test::SimulatedEncoder bench_{sim::MakeMifareClassic({})};
  std::shared_ptr<sim::SimulatedPcsc> sim_ = bench_.pcsc;
  Encoder& encoder_ = bench_.encoder;
  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(ScriptRunnerTest, ASyntaxErrorAnywhereRunsNothing) {
  const struct {
    const char* line;
    const char* message;
  } cases[] = {
      {"mifarereaddatabloc 4 FFFFFFFFFFFF 1 ?", "unknown member"},  // names are exact
      {"MifareReadDataBloc 4 FFFFFFFFFFFF 1", "takes 4 arguments, not 3"},
      {"MifareReadDataBloc ? FFFFFFFFFFFF 1 ?", "is an input"},
      {"MifareReadDataBloc four FFFFFFFFFFFF 1 ?", "32-bit integer"},
      {"MifareReadDataBloc 4 FFFFFFFFFFFF 256 ?", "byte"},
      {"Set EncoderState 3", "read-only"},
      {"EncoderState", "is a property"},
      {"DESFireWriteData 1 0 0 AA maybe", "True or False"},
  };
  for (const auto& c : cases) {
    const std::string script =
        std::string("OpenEncoder 0\n# fine so far\n") + c.line + "\nCloseEncoder\n";
    EXPECT_EQ(Run(script), kUsageError) << c.line;
    EXPECT_NE(err_.str().find("line 3: "), std::string::npos) << err_.str();
    EXPECT_NE(err_.str().find(c.message), std::string::npos) << err_.str();
    EXPECT_EQ(out_.str(), "") << c.line;
  }
  EXPECT_EQ(sim_->transmitCount(), 0u);
  EXPECT_EQ(encoder_.EncoderState(), sceClosed);  // not even opened
}

TEST_F(ScriptRunnerTest, PrintsResultsAndOutputsAndGoesOnAfterAFailure) {
  const int status = Run(
      "OpenEncoder 0\r\n"  // a script saved on Windows
      "MifareWriteDataBloc 4 FFFFFFFFFFFF 1 \"00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff\"\n"
      "MifareReadDataBloc 4 FFFFFFFFFFFF 1 ?\n"
      "MifareReadDataBloc 200 FFFFFFFFFFFF 1 ?\n"
      "Get EncoderState\n"
      "CloseEncoder\n");
  EXPECT_EQ(status, kSomeFailed);
  const std::string text = out_.str();
  EXPECT_NE(text.find("MifareWriteDataBloc: sceSuccess\n"
                      "  BlocContents = 00112233445566778899AABBCCDDEEFF\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("MifareReadDataBloc: sceSuccess\n"
                      "  BlocContents = 00112233445566778899AABBCCDDEEFF\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("MifareReadDataBloc: sceError\n  BlocContents = \n"
                      "  LastError.Number = -1878978812 (90010F04)\n"
                      "  LastError.Description = Encoder command failed\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("EncoderState = 3\nCloseEncoder: sceSuccess\n"), std::string::npos) << text;
}

TEST_F(ScriptRunnerTest, JsonHasOneObjectPerCall) {
  EXPECT_EQ(Run("OpenEncoder 0\nReadSerialNumber ?\nMifareReadDataBloc 64 FFFFFFFFFFFF 1 ?\n"
                "Get Parameters\n",
                true),
            kSomeFailed);
  std::istringstream lines(out_.str());
  std::vector<std::string> objects;
  for (std::string line; std::getline(lines, line);) objects.push_back(line);
  ASSERT_EQ(objects.size(), 4u) << out_.str();
  EXPECT_EQ(objects[0], R"({"member": "OpenEncoder", "result": 0, "outputs": {}})");
  EXPECT_EQ(
      objects[1],
      R"({"member": "ReadSerialNumber", "result": 0, "outputs": {"SerialNumber": "12345678"}})");
  EXPECT_EQ(objects[2],
            R"({"member": "MifareReadDataBloc", "result": 2, "outputs": {"BlocContents": ""}, )"
            R"("lastError": {"Number": -1878978812, "NumberHex": "90010F04", )"
            R"("Description": "Encoder command failed", "LastDllError": 0, )"
            R"("ComFunction": "MifareReadDataBloc", "RdrCommand": )"
            R"("EncoderCommand:SCardTransmit:MifareClassicRead", "RdrRetCode": "6A82"}})");
  EXPECT_EQ(objects[3].rfind(R"({"member": "Parameters", "value": "Encoding capabilities=)", 0),
            0u);
}

TEST_F(ScriptRunnerTest, EnumerationNamesAndSumsAreAccepted) {
  EXPECT_EQ(Run("OpenEncoder 0\n"
                "MifareWriteSectorTrailer 2 FFFFFFFFFFFF 1 FFFFFFFFFFFF FFFFFFFFFFFF 1 "
                "scbs_A_ReadWrite scbs_A_ReadWrite scbs_A_Read|scbs_A_Write "
                "scss_A_WriteKeys+scss_A_WriteConditions 0x69\n"
                "MifareReadSectorTrailer 2 FFFFFFFFFFFF 1 ? ? ? ? ? ?\n"),
            kAllSucceeded)
      << out_.str() << err_.str();
  EXPECT_NE(out_.str().find("  KeysUsed = 1\n  Security0 = 15\n  Security1 = 15\n  Security2 = 15\n"
                            "  Conditions = 3\n  BX = 105\n"),
            std::string::npos)
      << out_.str();
}

// Standard input runs each line as it comes (that each line is answered before the next is read,
// through a real pipe and process, is the PC/SC tier's co-process check): a wrong line is reported
// in its place, in JSON, and the lines after it still run.
TEST_F(ScriptRunnerTest, StandardInputReportsAWrongLineInItsPlaceAndGoesOn) {
  std::istringstream lines(
      "OpenEncoder 0\nBogus 1\n\n# a comment\nReadSerialNumber ?\nGet EncoderState\n");
  EXPECT_EQ(RunScriptAsItArrives(encoder_, lines, true, out_, err_), kUsageError);
  EXPECT_EQ(out_.str(),
            "{\"member\": \"OpenEncoder\", \"result\": 0, \"outputs\": {}}\n"
            "{\"line\": 2, \"error\": \"unknown member 'Bogus'\"}\n"
            "{\"member\": \"ReadSerialNumber\", \"result\": 0, \"outputs\": "
            "{\"SerialNumber\": \"12345678\"}}\n"
            "{\"member\": \"EncoderState\", \"value\": 3}\n");

  // A checked script needs a second pass: input that cannot be rewound is refused, unrun.
  struct Unseekable : std::streambuf {
    explicit Unseekable(std::string& text) {
      setg(text.data(), text.data(), text.data() + text.size());
    }
  };
  std::string close = "CloseEncoder\n";
  Unseekable once(close);
  std::istream onceIn(&once);
  EXPECT_EQ(RunCheckedScript(encoder_, onceIn, false, out_, err_), kUsageError);
  EXPECT_NE(err_.str().find("cannot be read a second time"), std::string::npos);
  EXPECT_EQ(encoder_.EncoderState(), sceReady);
}

// Plain text goes to the card one byte a character and comes back as the same UTF-8 text; JSON
// output is well-formed UTF-8 whatever bytes a text holds.
TEST_F(ScriptRunnerTest, CarriesPlainTextFaithfully) {
  sim_->InsertCard(sim::MakeDesfire());
  EXPECT_EQ(Run("OpenEncoder 0\n"
                "DESFireSelectRoot 0000000000000000\n"
                "DESFireCreateApplication A1B2C3 dfkApplDefault 1\n"
                "DESFireSelectApplication A1B2C3 0 0000000000000000\n"
                "DESFireCreateStdDataFile 1 0 0 0 0 0 8\n"
                "DESFireWriteData 1 0 0 \"\xC3\xA9\xE2\x82\xAC!\" False\n"
                "DESFireReadData 1 0 3 ? True\n"
                "DESFireReadData 1 0 3 ? False\n",
                true),
            kAllSucceeded)
      << out_.str() << err_.str();
  EXPECT_NE(out_.str().find(R"("DataString": "E9 80 21")"), std::string::npos) << out_.str();
  EXPECT_NE(out_.str().find("\"DataString\": \"\xC3\xA9\xE2\x82\xAC!\""), std::string::npos);

  const std::vector<std::pair<std::string, std::string>> json = {
      {"a\"b\\c\n", R"("a\"b\\c\n")"},
      {std::string("\0\x1F", 2), R"("\u0000\u001f")"},
      {"\xC3\xA9\xE2\x82\xAC", "\"\xC3\xA9\xE2\x82\xAC\""},  // UTF-8 as it is
      {"\xE9\xFF", "\"\xC3\xA9\xC3\xBF\""},                  // stray bytes: their characters
  };
  for (const auto& [text, expected] : json) EXPECT_EQ(JsonString(text), expected) << text;
}

}  // namespace
}  // namespace lumivex::cli
