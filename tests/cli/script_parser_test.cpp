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
