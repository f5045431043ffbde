// The simulated DESFire card's values, records, backup files and transactions, and its card-level
// behaviour (version, applications, memory, power).
#include <gtest/gtest.h>

#include "tests/desfire_card/desfire_reader.h"

namespace desfire_test {
namespace {

Bytes Le32(std::int32_t v) {
  const auto u = std::uint32_t(v);
  return {std::uint8_t(u), std::uint8_t(u >> 8), std::uint8_t(u >> 16), std::uint8_t(u >> 24)};
}

class DesfireCardTransactions : public InApplication {
 protected:
  Bytes Records(std::uint8_t file, std::uint8_t offset = 0, std::uint8_t count = 0) {
    Answer a = r.Run(0xBB, {file, offset, 0, 0, count, 0, 0});
    return a.sw == 0x9100 ? a.data : Bytes{std::uint8_t(a.sw >> 8), std::uint8_t(a.sw)};
  }
  int WriteRecord(std::uint8_t file, std::uint8_t offset, const Bytes& data) {
    return r.Run(0x3B, Cat({file, offset, 0, 0, std::uint8_t(data.size()), 0, 0}, data)).sw;
  }
};

TEST_F(DesfireCardTransactions, LimitedCreditReturnsOnlyTheLastCommittedDebits) {
  // Limits -100..100, value 10, limited credit enabled, every right free.
  ASSERT_EQ(r.Run(0xCC, Hex("03 00 EE EE 9CFFFFFF 64000000 0A000000 01")).sw, 0x9100);
  // Command (0C credit, DC debit, 1C limited credit, C7 commit), amount, status, and the
  // committed value that GetValue answers afterwards.
  const std::tuple<std::uint8_t, std::int32_t, int, std::int32_t> steps[] = {
      {0xDC, 30, 0x9100, 10},  {0xC7, 0, 0x9100, -20}, {0x1C, 20, 0x9100, -20},
      {0x1C, 11, 0x91BE, -20}, {0xC7, 0, 0x9100, 0},   {0x1C, 1, 0x91BE, 0},
      {0x0C, 101, 0x91BE, 0},  {0xDC, 5, 0x9100, 0},   {0x1C, 1, 0x919D, 0},
      {0xDC, -1, 0x919E, 0},   {0xC7, 0, 0x9100, -5},
  };
  for (const auto& [ins, amount, sw, value] : steps) {
    SCOPED_TRACE(testing::Message() << std::hex << int(ins) << " " << std::dec << amount);
    EXPECT_EQ(r.Run(ins, ins == 0xC7 ? Bytes{} : Cat({3}, Le32(amount))).sw, sw);
    EXPECT_EQ(r.Run(0x6C, {3}).data, Le32(value));
  }
  EXPECT_EQ(r.Run(0xF5, {3}).data, Hex("02 00 EE EE 9CFFFFFF 64000000 05000000 01"));
}

TEST_F(DesfireCardTransactions, RecordFilesKeepRecordsOnCommitOldestFirst) {
  ASSERT_EQ(r.Run(0xC1, Hex("01 00 EE EE 04 00 00 02 00 00")).sw, 0x9100);
  ASSERT_EQ(r.Run(0xC0, Hex("02 00 EE EE 04 00 00 03 00 00")).sw, 0x9100);
  for (std::uint8_t n = 1; n <= 3; ++n) {
    for (std::uint8_t file : {1, 2}) {
      EXPECT_EQ(WriteRecord(file, 0, {n, n}), file == 1 && n == 3 ? 0x91BE : 0x9100);
    }
    EXPECT_EQ(WriteRecord(2, 2, {0xEE}), 0x9100);  // the same new record
    EXPECT_EQ(WriteRecord(2, 3, {0xEE, 0xEE}), 0x91BE);
    EXPECT_EQ(r.Run(0xC7).sw, 0x9100);
  }
  EXPECT_EQ(Records(1, 0, 1), Hex("02020000"));
  EXPECT_EQ(Records(1, 1, 2), Hex("91 BE"));
  EXPECT_EQ(Records(2), Hex("0202EE00 0303EE00"));  // three slots hold two records
  EXPECT_EQ(r.Run(0xEB, {2}).sw, 0x9100);
  EXPECT_EQ(WriteRecord(2, 0, {9}), 0x919D);  // cleared in this transaction
}

TEST_F(DesfireCardTransactions, BackupFilesChangeOnlyOnCommit) {
  ASSERT_EQ(r.Run(0xCB, Hex("04 00 EE EE 04 00 00")).sw, 0x9100);
  ASSERT_EQ(r.Run(0x3D, Hex("04 000000 040000 A1A2A3A4")).sw, 0x9100);
  EXPECT_EQ(r.Run(0xBD, Hex("04 000000 000000")).data, Bytes(4, 0));
  EXPECT_EQ(r.Run(0x5A, kAid).sw, 0x9100);  // selecting ends the transaction
  EXPECT_EQ(r.Run(0xC7).sw, 0x910C);
  EXPECT_EQ(r.Run(0xBD, Hex("04 000000 000000")).data, Bytes(4, 0));
}

TEST(DesfireCard, VersionAtrUidAndPower) {
  Reader r({.uid = {1, 2, 3, 4, 5, 6, 7}, .storageCode = 0x18});
  EXPECT_EQ(r.Frame(0x60).data, Hex("04 01 01 01 00 18 05"));
  EXPECT_EQ(r.Frame(0xAF).data, Hex("04 01 01 01 04 18 05"));
  const Answer third = r.Frame(0xAF);
  EXPECT_EQ(third.sw, 0x9100);
  EXPECT_EQ(Bytes(third.data.begin(), third.data.begin() + 7), Hex("01020304050607"));
  EXPECT_EQ(r.card->Atr(), Hex("3B 81 80 01 80 80"));
  EXPECT_EQ(r.card->Transmit(Hex("FFCA000000")), Hex("01020304050607 9000"));
  ASSERT_EQ(r.Run(0xCA, Cat(kAid, Bytes{0x0F, 1})).sw, 0x9100);
  ASSERT_EQ(r.Run(0x5A, kAid).sw, 0x9100);
  r.card->PowerCycle();
  EXPECT_EQ(r.Run(0x6F).sw, 0x919D);  // back at card level
  EXPECT_EQ(r.Run(0x6A).data, kAid);  // memory kept
}

TEST(DesfireCard, CardLevelErrors) {
  Reader r;
  EXPECT_EQ(r.Run(0x99).sw, 0x911C);
  EXPECT_EQ(r.Frame(0xAF).sw, 0x91CA);
  EXPECT_EQ(r.Run(0xCA, Hex("010203 0F 0F")).sw, 0x919E);  // 15 keys
  EXPECT_EQ(r.Run(0xCA, Hex("010203 0F 81")).sw, 0x919E);  // AES keys are not on this card
  EXPECT_EQ(r.Run(0xFC).sw, 0x91AE);
  EXPECT_EQ(r.card->Transmit(Hex("00A4040000")), Hex("6E00"));
  EXPECT_EQ(r.card->Transmit(Hex("905A00000301020300FF")), Hex("6700"));
  for (std::uint8_t n = 0; n < 28; ++n) ASSERT_EQ(r.Run(0xCA, {1, 0, n, 0x0F, 1}).sw, 0x9100);
  EXPECT_EQ(r.Run(0xCA, {2, 0, 0, 0x0F, 1}).sw, 0x91CE);
  EXPECT_EQ(r.Run(0x6A).data.size(), 84u);
  EXPECT_EQ(r.Frame(0x6A).data.size(), 57u);  // 19 identifiers a frame
}

}  // namespace
}  // namespace desfire_test
