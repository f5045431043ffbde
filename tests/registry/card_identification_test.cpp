#include "component/card_identification.h"

#include "component/mregistry.h"
#include "platform/text/windows_1252_code_page.h"
#include "tests/registry/temp_registry.h"
#include "tests/support/virtual_host.h"

namespace lumivex::test {
namespace {

constexpr const char* kCards = R"(Software\Pellworth Systems\Badgeline\7.0\Contactless\Card types)";
constexpr const char* kMifare1K = "3B 8F 80 01 80 4F 0C A0 00 00 03 06 03 00 01 00 00 00 00 6A";

class CardIdentificationTest : public TempRegistry {
 protected:
  void List(const std::vector<std::pair<std::string, Variant>>& values) {
    for (const auto& [name, value] : values)
      ASSERT_EQ(module_.WriteValue(reg::LOCAL_MACHINE, kCards, name, value), 0);
  }
  std::vector<std::string> Names() {
    std::vector<std::string> names;
    module_.GetValueNames(reg::LOCAL_MACHINE, kCards, names);
    return names;
  }
  CardIdentification Identify(const std::string& atr, std::int32_t previous = -1) {
    return IdentifyCard(atr, previous, &store_, host_, codePage_);
  }

  RegistryFileStore store_;
  Windows1252CodePage codePage_;
  MRegistry module_{store_, codePage_};
  VirtualHost host_;
};

TEST_F(CardIdentificationTest, TheFirstMatchingEntryGivesTypeAndSerialLength) {
  struct Case {
    std::vector<std::string> entries;
    CardIdentification expected;
  };
  const std::vector<Case> cases = {
      {{"11;3B 8F 80 01;04"}, {17, 4}},
      {{"11;3b 8f 80 01;0a"}, {17, 10}},          // entries may be in lower case
      {{"11;3B8F8001;04"}, {1, 7}},               // the ATR has blanks between bytes
      {{"11;;04", "31;8F 80;07"}, {0x31, 7}},     // an empty piece never matches
      {{"12;03 06;04", "11;3B 8F;07"}, {18, 4}},  // the first match wins
      {{"41;3B;xx"}, {0x41, 0}},                  // a length that is no number
      {{"11;3B 8F", "11;3B 8F;04;00"}, {1, 7}},   // two or four fields: ignored
      {{"Sans ATR", "11;00 FF;04"}, {1, 7}},      // no match keeps the previous length
  };
  for (const Case& c : cases) {
    ::unlink(file_.c_str());
    for (std::size_t i = 0; i < c.entries.size(); ++i)
      List({{"Card " + std::to_string(i), Variant::FromText(c.entries[i])}});
    const CardIdentification id = Identify(kMifare1K, 7);
    EXPECT_EQ(id.cardType, c.expected.cardType) << c.entries[0];
    EXPECT_EQ(id.serialNumberLength, c.expected.serialNumberLength) << c.entries[0];
  }
  const CardIdentification cleared = Identify("", 4);
  EXPECT_EQ(cleared.cardType, 1);
  EXPECT_EQ(cleared.serialNumberLength, -1);
}

TEST_F(CardIdentificationTest, UnknownCardsAreAddedOnceAndOnlyWhenTheListAsksForIt) {
  for (const Variant& add :
       {Variant::FromInt32(0), Variant::FromText("no"), Variant::FromInt32(1)}) {
    List({{"Add new cards", add}, {"Mifare 1K", Variant::FromText("11;3B 8F;04")}});
    EXPECT_EQ(Identify("3B 81 80 01 80 80").cardType, 1);
    EXPECT_EQ(Identify(kMifare1K).cardType, 17);  // known cards are never added
    EXPECT_EQ(Names().size(), add.ToInt32() == 1 ? 3u : 2u) << static_cast<int>(add.kind());
  }
  host_.SetLocalNow({2026, 11, 21, 9, 45, 7});
  Identify("3B 81 80 01 80 80");  // already listed: not added again
  Identify("3B 8A 80 01 00 31 C1 73 C8 40 00 00 90 00 90");
  EXPECT_EQ(Names(),
            (std::vector<std::string>{"Add new cards", "Mifare 1K", "Unknown (2026-11-21 09:30:00)",
                                      "Unknown (2026-11-21 09:45:07)"}));
  EXPECT_EQ(module_.ReadValue(reg::LOCAL_MACHINE, kCards, "Unknown (2026-11-21 09:30:00)", {}),
            Variant::FromText("3B 81 80 01 80 80"));
  EXPECT_EQ(IdentifyCard(kMifare1K, 5, nullptr, host_, codePage_).serialNumberLength,
            5);  // no list at all
  const std::string malformed = "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\Soft";
  WriteFileText(malformed);
  EXPECT_EQ(Identify(kMifare1K).cardType, 1);  // silent: unknown card, file left alone
  EXPECT_EQ(ReadFileText(), malformed);
}

}  // namespace
}  // namespace lumivex::test
