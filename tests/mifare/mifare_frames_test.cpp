// The frames the MIFARE operations send, checked byte for byte against a scripted reader.
#include <gtest/gtest.h>

#include "component/error_codes.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex {
namespace {

const std::string kData = "00112233445566778899AABBCCDDEEFF";

// The frames carry the key as the reader wants it and the block's low byte; the key type never
// changes a frame. An accepted read without a whole block is a read error for an operation that
// builds on it.
TEST(MifareFrames, CarryTheKeyAndTheBlocksLowByteWhateverTheKeyType) {
  test::ScriptedEncoder bench;
  bench.Open();
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
  bench.pcsc->Expect("FF F3 00 04 06 FFFFFFFFFFFF 10", "0102 9000");
  std::string contents = "77";
  EXPECT_EQ(bench.encoder.MifareWriteBytesInBloc(4, "FFFFFFFFFFFF", 1, 0, 0, contents), sceError);
  EXPECT_EQ(test::Record(bench.encoder),
            std::make_tuple(err::kReadError, "Read error on encoder", "MifareWriteBytesInBloc",
                            "MifareReadDataBloc", ""));
  EXPECT_EQ(contents, "");
}

}  // namespace
}  // namespace lumivex
