#include <gtest/gtest.h>

#include <string>

#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

// GetResponseText only puts words to a status word: the last error of the failed command before
// it, the trace, the reader and the caller's text all stay as they were.
TEST(GetResponseText, GivesTheStatusWordTextAndTouchesNothingElse) {
  test::ScriptedEncoder bench;
  bench.Open();
  bench.pcsc->Expect("FFCA000000", "6A82");
  std::string response;
  ASSERT_EQ(bench.encoder.Escape("FFCA000000", response), sceError);
  const auto before = test::Record(bench.encoder);
  ASSERT_NE(std::get<0>(before), 0);
  bench.pcsc->ClearLog();
  bench.trace.clear();

  std::string caller = "MyCaller";
  EXPECT_EQ(bench.encoder.GetResponseText("91ae", &caller),
            "[Error]  DESFire, current authentication status doesn't allow the requested command. "
            "Authenticate first.");
  EXPECT_EQ(bench.encoder.GetResponseText("9001"), "[Unknown]  Unknown retcode '9001'.");
  EXPECT_EQ(caller, "MyCaller");

  EXPECT_EQ(test::Record(bench.encoder), before);
  EXPECT_TRUE(bench.trace.empty());
  EXPECT_TRUE(bench.pcsc->calls().empty());
}

}  // namespace
}  // namespace lumivex
