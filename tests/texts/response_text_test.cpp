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
  const CError before = bench.encoder.LastError();
  ASSERT_NE(before.Number(), 0);
  bench.pcsc->ClearLog();
  bench.trace.clear();

  std::string caller = "MyCaller";
  EXPECT_EQ(bench.encoder.GetResponseText("91ae", &caller),
            "[Error]  DESFire, current authentication status doesn't allow the requested command. "
            "Authenticate first.");
  EXPECT_EQ(bench.encoder.GetResponseText("9001"), "[Unknown]  Unknown retcode '9001'.");
  EXPECT_EQ(caller, "MyCaller");

  const CError& after = bench.encoder.LastError();
  EXPECT_EQ(after.Number(), before.Number());
  EXPECT_EQ(after.Description(), before.Description());
  EXPECT_EQ(after.ComFunction(), before.ComFunction());
  EXPECT_EQ(after.RdrCommand(), before.RdrCommand());
  EXPECT_EQ(after.RdrRetCode(), before.RdrRetCode());
  EXPECT_TRUE(bench.trace.empty());
  EXPECT_TRUE(bench.pcsc->calls().empty());
}

}  // namespace
}  // namespace lumivex
