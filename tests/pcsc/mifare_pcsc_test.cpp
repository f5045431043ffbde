// One MIFARE session of the Encoder through libpcsclite, pcscd and the virtual card.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "component/encoder.h"
#include "platform/posix/pcsc_lite_api.h"
#include "tests/support/virtual_host.h"

namespace lumivex {
namespace {

TEST(MifareThroughPcscd, UidBlockAndTrailerRoundTrip) {
  const std::string card = std::getenv("LUMIVEX_SIM_CARD") ? std::getenv("LUMIVEX_SIM_CARD") : "";
  if (std::getenv("LUMIVEX_PCSC_HARNESS") == nullptr || !card.starts_with("mifare")) {
    GTEST_SKIP() << "needs a MIFARE card in the real PC/SC stack: run in tests/pcsc/with-pcscd.sh";
  }
  Encoder encoder(
      Platform{std::make_shared<PcscLiteApi>(), std::make_shared<test::VirtualHost>(), nullptr});
  encoder.Parameters(std::string("Device=") + std::getenv("LUMIVEX_PCSC_READER"));
  std::string uid;
  for (int attempt = 0; attempt < 100 && uid.empty();
       ++attempt) {  // pcscd polls the virtual reader
    encoder.OpenEncoder(0);
    if (encoder.ReadSerialNumber(uid) != sceSuccess)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(uid, "12345678");
  const std::string key = "FFFFFFFFFFFF";
  std::string data = "F0E1D2C3B4A5968778695A4B3C2D1E0F";
  std::string read;
  ASSERT_EQ(encoder.MifareWriteDataBloc(2, key, 1, data), sceSuccess)
      << encoder.LastError().RdrRetCode();
  ASSERT_EQ(encoder.MifareReadDataBloc(2, key, 1, read), sceSuccess);
  EXPECT_EQ(read, data);
  // Key A keeps every right over the trailer, so the session can run again on the same card.
  ASSERT_EQ(encoder.MifareWriteSectorTrailer(1, key, 1, key, key, 1, scbs_A_Read, scbs_A_ReadWrite,
                                             scbs_A_ReadWrite, scss_A_WriteKeysConditions,
                                             Variant::FromByte(0x42)),
            sceSuccess);
  std::uint8_t keysUsed = 0, bx = 0;
  SCBS_SecurityLevelEnum s0{}, s1{}, s2{};
  SCSS_SecurityLevelEnum conditions{};
  ASSERT_EQ(encoder.MifareReadSectorTrailer(1, key, 1, keysUsed, s0, s1, s2, conditions, bx),
            sceSuccess);
  EXPECT_EQ((std::array<int, 6>{keysUsed, s0, s1, s2, conditions, bx}),
            (std::array<int, 6>{1, 5, 15, 15, 3, 0x42}));
  // Leave the sector as the factory made it for the other programs that share the card.
  EXPECT_EQ(encoder.MifareWriteSectorTrailer(1, key, 1, key, key, 1, scbs_A_ReadWrite,
                                             scbs_A_ReadWrite, scbs_A_ReadWrite,
                                             scss_A_WriteKeysConditions, Variant::FromByte(0x69)),
            sceSuccess);
  EXPECT_EQ(encoder.CloseEncoder(), sceSuccess);
}

}  // namespace
}  // namespace lumivex
