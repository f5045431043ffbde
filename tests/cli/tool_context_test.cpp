#include "cli/tool_context.h"

#include <gtest/gtest.h>

#include <sstream>

#include "cli/output.h"
#include "cli/script_runner.h"

namespace lumivex::cli {
namespace {

// Contactless readers speak T=1: the tool asks for it unless told otherwise.
TEST(ToolContext, AsksForTEqualsOneByDefault) {
  GlobalOptions options;
  options.simulate = "mifare1k";
  ToolContext context(options);
  EXPECT_NE(context.encoder().Parameters().find("\r\nProtocol=2\r\n"), std::string::npos);
}

bool HasNote(const std::string& output) {
  return output.find("Note: ") != std::string::npos || output.find("\"note\"") != std::string::npos;
}

// A connection refused for its protocol: the tool says which protocol the card offers, and the
// component's record stays as it is.
TEST(ToolContext, SaysWhichProtocolTheCardOffersWhenTheConnectionIsRefused) {
  struct Case {
    int protocol;       // --protocol
    PcscDword offered;  // by the card
    bool json;
    std::string note;
  };
  const std::string card = "the card in \"Lumivex Simulator 0\" offers ";
  const std::vector<Case> cases = {
      {2, scard::PROTOCOL_T0, false, card + "T=0 only: run lumivex with --protocol 1"},
      {1, scard::PROTOCOL_T1, true, card + "T=1 only: run lumivex with --protocol 2"},
      {2, scard::PROTOCOL_T0 | scard::PROTOCOL_T1, false, ""},  // nothing refused, no note
  };
  for (const Case& c : cases) {
    GlobalOptions options;
    options.simulate = "mifare1k";
    options.protocol = c.protocol;
    ToolContext context(options);
    std::string error;
    ASSERT_TRUE(context.InsertSimulatedCard("mifare1k", error)) << error;
    context.simulator()->SetOfferedProtocols(c.offered);
    const auto run = [&](const std::string& script) {
      std::ostringstream out;
      std::ostringstream err;
      RunScript(context.encoder(), script, c.json, out, err,
                [&](const CError& record) { return context.FailureNote(record); });
      return out.str();
    };
    const std::string opened = run("OpenEncoder 0\n");
    const std::string expected =
        c.json ? ", \"note\": " + JsonString(c.note) + "}\n" : "  Note: " + c.note + "\n";
    if (c.note.empty()) {
      EXPECT_FALSE(HasNote(opened)) << opened;
    } else {
      EXPECT_TRUE(opened.ends_with(expected)) << opened;
      EXPECT_EQ(context.encoder().LastError().Number(), static_cast<std::int32_t>(0x90010F03));
    }
    // A failure that is not about the protocol gets no note.
    const std::string other = run("MifareReadDataBloc 200 FFFFFFFFFFFF 1 ?\n");
    EXPECT_FALSE(HasNote(other)) << other;
  }
}

}  // namespace
}  // namespace lumivex::cli
