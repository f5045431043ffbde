#include "cli/script_parser.h"

#include <gtest/gtest.h>

namespace lumivex::cli {
namespace {

struct SplitCase {
  const char* line;
  std::vector<std::string> words;
  std::vector<bool> placeholders;
};

TEST(ScriptWords, QuotesPlaceholdersAndBlanks) {
  const SplitCase cases[] = {
      {"MifareReadDataBloc 4 FFFFFFFFFFFF 1 ?",
       {"MifareReadDataBloc", "4", "FFFFFFFFFFFF", "1", "?"},
       {false, false, false, false, true}},
      {"  Escape\t\"ff ca 00 00 00\"  ? ", {"Escape", "ff ca 00 00 00", "?"}, {false, false, true}},
      {R"(WriteLog "say ""hi"" twice")", {"WriteLog", R"(say "hi" twice)"}, {false, false}},
      {R"(WriteLog "")", {"WriteLog", ""}, {false, false}},
      {R"(WriteLog "?")", {"WriteLog", "?"}, {false, false}},  // a quoted ? is text
  };
  for (const auto& c : cases) {
    std::string error;
    auto words = SplitWords(c.line, error);
    ASSERT_TRUE(words) << c.line << ": " << error;
    ASSERT_EQ(words->size(), c.words.size()) << c.line;
    for (std::size_t i = 0; i < c.words.size(); ++i) {
      EXPECT_EQ((*words)[i].text, c.words[i]) << c.line;
      EXPECT_EQ((*words)[i].placeholder, c.placeholders[i]) << c.line;
    }
  }
}

TEST(Script, SkipsCommentsAndBlankLinesAndKeepsLineNumbers) {
  const auto script = ParseScript(
      "# encode a badge\n"
      "\n"
      "   # indented comment\n"
      "OpenEncoder 0\r\n"
      "Get EncoderState\n"
      "Set Parameters \"Device=Reader 0;Protocol=2\"\n");
  ASSERT_TRUE(script.errors.empty());
  ASSERT_EQ(script.lines.size(), 3u);
  EXPECT_EQ(script.lines[0].lineNumber, 4);
  EXPECT_EQ(script.lines[0].member, "OpenEncoder");
  EXPECT_EQ(script.lines[0].args.at(0).text, "0");
  EXPECT_EQ(script.lines[1].kind, ScriptLine::Kind::Get);
  EXPECT_EQ(script.lines[1].member, "EncoderState");
  EXPECT_EQ(script.lines[2].kind, ScriptLine::Kind::Set);
  EXPECT_EQ(script.lines[2].args.at(0).text, "Device=Reader 0;Protocol=2");
}

TEST(Script, ReportsEverySyntaxErrorWithItsLine) {
  const auto script = ParseScript(
      "OpenEncoder 0\n"
      "WriteLog \"never closed\n"
      "Get\n"
      "Set Parameters\n"
      "Get EncoderState extra\n"
      "\"Quoted\" member\n"
      "? 1\n"
      "WriteLog \"a\"b\n"
      "WriteLog a\"b\"\n");
  std::vector<int> lines;
  for (const auto& e : script.errors) lines.push_back(e.lineNumber);
  EXPECT_EQ(lines, (std::vector<int>{2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(script.lines.size(), 1u);
}

}  // namespace
}  // namespace lumivex::cli
