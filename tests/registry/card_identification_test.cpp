// The card under the antenna identified from its ATR when the encoder opens, against the host's
// card list in the registry ("type;piece of the ATR;serial-number length", hexadecimal).
#include "platform/posix/registry_file_store.h"
#include "tests/registry/temp_registry.h"
#include "tests/support/scripted_encoder.h"

namespace lumivex::test {
namespace {

constexpr const char* kHeader =
    "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Pellworth "
    "Systems\\Badgeline\\7.0\\Contactless\\Card types]\n";
constexpr const char* kMifare1K = "3B 8F 80 01 80 4F 0C A0 00 00 03 06 03 00 01 00 00 00 00 6A";

class CardIdentificationTest : public TempRegistry {
 protected:
  // The list: one line per value, in order.
  void List(const std::vector<std::string>& values) {
    std::string text = kHeader;
    for (const std::string& value : values) text += value + "\n";
    WriteFileText(text);
  }
  std::pair<std::int32_t, std::int32_t> Identify(const std::string& atr) {
    ScriptedEncoder bench(std::make_shared<RegistryFileStore>());
    bench.host->SetLocalNow(now);
    bench.pcsc->SetAtr(atr);
    EXPECT_EQ(bench.encoder.OpenEncoder(0), sceSuccess);
    return {bench.encoder.CardType(), bench.encoder.SerialNumberLength()};
  }
  LocalDateTime now{2026, 11, 21, 9, 30, 0};
};

TEST_F(CardIdentificationTest, TheFirstMatchingEntryGivesTypeAndSerialLength) {
  const std::vector<std::pair<std::vector<std::string>, std::pair<int, int>>> cases = {
      {{R"("A"="11;3B 8F 80 01;04")"}, {17, 4}},
      {{R"("A"="11;3b 8f 80 01;0a")"}, {17, 10}},                // entries may be in lower case
      {{R"("A"="11;3B8F8001;04")"}, {1, -1}},                    // the ATR has blanks between bytes
      {{R"("A"="11;;04")", R"("B"="31;8F 80;07")"}, {0x31, 7}},  // an empty piece never matches
      {{R"("A"="12;03 06;04")", R"("B"="11;3B 8F;07")"}, {18, 4}},  // the first match wins
      {{R"("A"="41;3B;xx")"}, {0x41, 0}},                           // a length that is no number
      {{R"("A"="11;3B 8F")", R"("B"="11;3B 8F;04;00")"}, {1, -1}},  // two or four fields: ignored
      {{R"("A"="Sans ATR")", R"("B"="11;00 FF;04")"}, {1, -1}},
  };
  for (const auto& [entries, expected] : cases) {
    List(entries);
    EXPECT_EQ(Identify(kMifare1K), expected) << entries[0];
  }
}

TEST_F(CardIdentificationTest, UnknownCardsAreAddedOnceAndOnlyWhenTheListAsksForIt) {
  const std::string known = R"("Mifare 1K"="11;3B 8F;04")";
  for (const char* add : {"dword:00000000", "\"no\"", "dword:00000001"}) {
    List({std::string("\"Add new cards\"=") + add, known});
    EXPECT_EQ(Identify("3B 81 80 01 80 80").first, 1);
    EXPECT_EQ(Identify(kMifare1K).first, 17);  // known cards are never added
    const bool added = ReadFileText().find("Unknown") != std::string::npos;
    EXPECT_EQ(added, std::string(add) == "dword:00000001") << add;
  }
  Identify("3B 81 80 01 80 80");  // already listed: not added again
  now = {2026, 11, 21, 9, 45, 7};
  Identify("3B 8A 80 01 00 31 C1 73 C8 40 00 00 90 00 90");
  EXPECT_EQ(ReadFileText(), std::string(kHeader) + "\"Add new cards\"=dword:00000001\n" + known +
                                "\n\"Unknown (2026-11-21 09:30:00)\"=\"3B 81 80 01 80 80\"\n"
                                "\"Unknown (2026-11-21 09:45:07)\"=\"3B 8A 80 01 00 31 C1 73 C8 "
                                "40 00 00 90 00 90\"\n\n");
  const std::string malformed = "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\Soft";
  WriteFileText(malformed);
  EXPECT_EQ(Identify(kMifare1K), std::make_pair(1, -1));  // silent: unknown card, file left alone
  EXPECT_EQ(ReadFileText(), malformed);
}

}  // namespace
}  // namespace lumivex::test
