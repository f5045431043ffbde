// The frames the MIFARE operations send, checked byte for byte against a scripted reader.
#include <gtest/gtest.h>

#include "component/error_codes.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

const std::string kData = "00112233445566778899AABBCCDDEEFF";

class MifareFrames : public testing::Test {
 protected:
  void SetUp() override { bench.Open(); }
  // The failed operation's error; every scripted frame has been sent.
  void ExpectFailure(std::int32_t number, const std::string& function, const std::string& sw) {
    const CError& e = bench.encoder.LastError();
    EXPECT_EQ(std::make_tuple(e.Number(), e.ComFunction(), e.RdrRetCode()),
              std::tie(number, function, sw));
    EXPECT_EQ(bench.pcsc->PendingFrames(), 0U);
  }
  test::ScriptedEncoder bench;
};

TEST_F(MifareFrames, KeyTypeNeverChangesAFrameAndTheBlockByteKeepsItsLowByte) {
  for (const std::uint8_t keyType : {0, 1, 2, 200}) {
    bench.pcsc->Expect("FF F3 00 00 06 A0A1A2A3A4A5 10", kData + "9000");
    bench.pcsc->Expect("FF F4 00 FF 16" + kData + "A0A1A2A3A4A5", "9000");
    std::string contents;
    EXPECT_EQ(bench.encoder.MifareReadDataBloc(256, "a0 a1,a2 a3\ta4 a5", keyType, contents),
              sceSuccess);
    EXPECT_EQ(contents, kData);
    EXPECT_EQ(bench.encoder.MifareWriteDataBloc(-1, "A0A1A2A3A4A5", keyType, contents), sceSuccess);
    EXPECT_EQ(bench.pcsc->PendingFrames(), 0U);
  }
  for (const auto& line : bench.trace) EXPECT_EQ(line.find("A0A1A2A3A4A5"), std::string::npos);
}

// A key that does not convert travels as given and the reader judges it; an accepted read without
// a whole block is a read error.
TEST_F(MifareFrames, UnconvertedKeysAndShortReads) {
  bench.pcsc->Expect("FF F3 00 04 06 0ABC 10", "6700");
  std::string contents = "was";
  EXPECT_EQ(bench.encoder.MifareReadDataBloc(4, "abc", 1, contents), sceError);
  ExpectFailure(err::kCommandFailed, "MifareReadDataBloc", "6700");
  EXPECT_EQ(contents, "");
  bench.pcsc->Expect("FF F3 00 04 06 FFFFFFFFFFFF 10", "0102 9000");
  contents = "77";
  EXPECT_EQ(bench.encoder.MifareWriteBytesInBloc(4, "FFFFFFFFFFFF", 1, 0, 0, contents), sceError);
  ExpectFailure(err::kReadError, "MifareWriteBytesInBloc", "");
  EXPECT_EQ(contents, "");
}

}  // namespace
}  // namespace lumivex
