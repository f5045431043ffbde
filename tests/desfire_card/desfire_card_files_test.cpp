// The simulated DESFire card's files, chained transfers and secured data, driven with raw frames.
#include <gtest/gtest.h>

#include "tests/desfire_card/desfire_reader.h"

namespace desfire_test {
namespace {

using DesfireCardFiles = InApplication;

TEST_F(DesfireCardFiles, FileSettingsAnswerAsCreated) {
  const std::tuple<std::uint8_t, const char*, const char*> cases[] = {
      {0xCD, "01 00 12 E4 20 00 00", "00 00 12 E4 20 00 00"},
      {0xCB, "02 01 EE EE 10 00 00", "01 01 EE EE 10 00 00"},
      {0xCC, "03 03 00 00 9CFFFFFF 64000000 0A000000 01",
       "02 03 00 00 9CFFFFFF 64000000 00000000 01"},
      {0xC1, "04 00 EE EE 08 00 00 05 00 00", "03 00 EE EE 08 00 00 05 00 00 00 00 00"},
      {0xC0, "1F 00 EE EE 08 00 00 05 00 00", "04 00 EE EE 08 00 00 05 00 00 00 00 00"},
  };
  for (const auto& [command, create, settings] : cases) {
    ASSERT_EQ(Send(command, create), 0x9100) << create;
    EXPECT_EQ(r.Run(0xF5, {Hex(create)[0]}).data, Hex(settings));
  }
  EXPECT_EQ(r.Run(0x6F).data, Hex("01 02 03 04 1F"));
}

TEST_F(DesfireCardFiles, CreateAndDeleteRefusals) {
  const std::tuple<std::uint8_t, const char*, int> cases[] = {
      {0xCD, "20 00 EE EE 20 00 00", 0x919E},                       // file number beyond 31
      {0xCD, "02 04 EE EE 20 00 00", 0x919E},                       // communication settings
      {0xCD, "02 00 EE EE 20 00", 0x917E},                          // short frame
      {0xCC, "03 00 EE EE 64000000 9CFFFFFF 00000000 00", 0x919E},  // lower above upper
      {0xCC, "03 00 EE EE 00000000 64000000 65000000 00", 0x919E},  // value out of limits
      {0xC0, "04 00 EE EE 08 00 00 01 00 00", 0x919E},              // cyclic needs two records
      {0xDF, "09", 0x91F0},
  };
  for (const auto& [command, data, sw] : cases) EXPECT_EQ(Send(command, data), sw) << data;
  ASSERT_EQ(r.Run(0x5A, Hex("000000")).sw, 0x9100);
  EXPECT_EQ(Send(0xCD, "01 00 EE EE 20 00 00"), 0x919D);  // no files at card level
}

TEST_F(DesfireCardFiles, LongTransfersTravelIn52And59ByteFrames) {
  ASSERT_EQ(Send(0xCD, "05 00 EE EE C8 00 00"), 0x9100);
  const Bytes data(150, 0x5A);
  const Bytes command = Cat(Hex("05 0A0000 960000"), data);  // 52, 59 and 46 bytes
  EXPECT_EQ(r.Frame(0x3D, Bytes(command.begin(), command.begin() + 52)).sw, 0x91AF);
  EXPECT_EQ(r.Frame(0xAF, Bytes(command.begin() + 52, command.begin() + 111)).sw, 0x91AF);
  EXPECT_EQ(r.Frame(0xAF, Bytes(command.begin() + 111, command.end())).sw, 0x9100);
  Answer first = r.Frame(0xBD, Hex("05 0A0000 960000"));
  Answer second = r.Frame(0xAF);
  Answer third = r.Frame(0xAF);
  EXPECT_EQ(std::vector<int>({first.sw, second.sw, third.sw}),
            std::vector<int>({0x91AF, 0x91AF, 0x9100}));
  EXPECT_EQ(std::vector<std::size_t>({first.data.size(), second.data.size(), third.data.size()}),
            std::vector<std::size_t>({59, 59, 32}));
  EXPECT_EQ(r.Run(0xBD, Hex("05 960000 000000")).data, Cat(Bytes(10, 0x5A), Bytes(40, 0)));
  // A short frame that leaves the data incomplete is a length error.
  EXPECT_EQ(r.Frame(0x3D, Cat(Hex("05 000000 0A0000"), Bytes(5, 1))).sw, 0x917E);
}

TEST_F(DesfireCardFiles, MacedAndEncipheredFilesSecureTheirData) {
  // Read, write and change with key 1, read-and-write never; MACed, then enciphered.
  ASSERT_EQ(Send(0xCD, "01 01 F1 11 10 00 00"), 0x9100);
  ASSERT_EQ(Send(0xCD, "02 03 F1 11 10 00 00"), 0x9100);
  EXPECT_EQ(Send(0xBD, "01 000000 040000"), 0x91AE);
  ASSERT_EQ(r.Authenticate(1, kZero), 0x9100);
  const Bytes data = Hex("0102030405060708090A");
  EXPECT_EQ(r.Run(0x3D, Cat(Hex("01 000000 0A0000"), data)).sw, 0x911E);  // no MAC
  EXPECT_EQ(Send(0xBD, "01 000000 040000"), 0x91AE);                      // and the session is gone
  ASSERT_EQ(r.Authenticate(1, kZero), 0x9100);
  EXPECT_EQ(r.Run(0x3D, Cat(Hex("01 000000 0A0000"), data, Mac(r.session, data))).sw, 0x9100);
  EXPECT_EQ(r.Run(0xBD, Hex("01 000000 0A0000")).data, Cat(data, Mac(r.session, data)));
  const Bytes withCrc = Cat(data, Crc(data));
  EXPECT_EQ(r.Run(0x3D, Cat(Hex("02 000000 0A0000"), SendMode(r.session, withCrc))).sw, 0x9100);
  EXPECT_EQ(CbcDecipher(r.session, r.Run(0xBD, Hex("02 000000 0A0000")).data), Pad8(withCrc));
}

// A change that is free goes plain and one that needs the change key enciphered, the plain form
// then refused with the session kept: the Encoder's card life walks both. What stays here is
// what it never meets: a change right of "never", a missing authentication, a wrong CRC.
TEST_F(DesfireCardFiles, ChangeFileSettingsRefusals) {
  ASSERT_EQ(Send(0xCD, "02 00 E2 EE 10 00 00"), 0x9100);
  ASSERT_EQ(Send(0xCD, "03 00 EF EE 10 00 00"), 0x9100);
  EXPECT_EQ(Send(0x5F, "03 00 EE EE"), 0x919D);
  EXPECT_EQ(Send(0x5F, "02 00 EE EE"), 0x91AE);
  ASSERT_EQ(r.Authenticate(2, kZero), 0x9100);
  const Bytes settings = Hex("03 E2 34");
  EXPECT_EQ(r.Run(0x5F, Cat({2}, SendMode(r.session, Cat(settings, Hex("00 00"))))).sw, 0x911E);
}

}  // namespace
}  // namespace desfire_test
