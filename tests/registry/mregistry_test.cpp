// The registry module the card identification reads and writes the card list through: how it
// stores a text or a number and reads each type back. (Its other options, the other kinds of
// value, typed writes, remote computers, other roots and the error hook, have no caller in the
// product.)
#include "component/mregistry.h"

#include "platform/text/windows_1252_code_page.h"

#include "platform/posix/registry_file_store.h"
#include "tests/registry/temp_registry.h"

namespace lumivex::test {
namespace {

constexpr const char* kKey = "Software\\Lumivex Test";

class MRegistryTest : public TempRegistry {
 protected:
  std::pair<RegDword, Bytes> Stored(RegKey root, const std::string& name) {
    RegKey key = 0;
    RegDword size = 0;
    if (store_->OpenKey(root, kKey, reg::KEY_READ_ACCESS, &key) != reg::SUCCESS ||
        store_->QueryValue(key, name, nullptr, nullptr, &size) != reg::SUCCESS)
      return {0, {}};
    return Get(*store_, key, name);
  }
  void Store(const std::string& name, RegDword type, const std::string& data) {
    ASSERT_EQ(Set(*store_, Create(*store_, reg::LOCAL_MACHINE, kKey), name, type, Text(data)), 0);
  }

  std::unique_ptr<RegistryFileStore> store_ = std::make_unique<RegistryFileStore>();
  Windows1252CodePage codePage_;
  MRegistry module_{*store_, codePage_};
};

TEST_F(MRegistryTest, WriteChoosesTheRegistryTypeFromTheKindOfValue) {
  const std::vector<std::tuple<Variant, RegDword, Bytes>> table = {
      {Variant::FromInt32(0x01020304), reg::DWORD, {4, 3, 2, 1}},
      // Strings go in the code page, one byte a character; a text it cannot hold goes as UTF-16.
      {Variant::FromText("Caf\xC3\xA9 \xE2\x82\xAC"), reg::SZ, {'C', 'a', 'f', 0xE9, ' ', 0x80, 0}},
      {Variant::FromText("\xC4\x80\x31"), reg::BINARY, {0x00, 0x01, '1', 0, 0, 0}},  // "Ā1"
  };
  for (const auto& [value, type, data] : table) {
    EXPECT_EQ(module_.WriteValue(reg::LOCAL_MACHINE, kKey, "v", value), 0);
    EXPECT_EQ(module_.Error().code, 0);
    EXPECT_EQ(Stored(reg::LOCAL_MACHINE, "v"), std::make_pair(type, data))
        << static_cast<int>(value.kind());
  }
  for (const Variant& value : {Variant::Null(), Variant::FromBytes({1})}) {
    EXPECT_EQ(module_.WriteValue(reg::LOCAL_MACHINE, kKey, "none", value), 0);
    EXPECT_EQ(module_.Error().text, "Unable to save this type of data in the Registry");
    EXPECT_EQ(Stored(reg::LOCAL_MACHINE, "none").first, 0u);
  }
}

TEST_F(MRegistryTest, ReadGivesTheDataOrTheDefault) {
  Store("terminated", reg::SZ, std::string("abc\0", 4));
  Store("ansi", reg::SZ, std::string("\xE9\x80\x81\0", 4));
  Store("unterminated", reg::SZ, "abc");
  Store("expand", reg::EXPAND_SZ, std::string("%X%\0", 4));
  Store("binary", reg::BINARY, std::string("a\0b\0", 4));
  Store("number", reg::DWORD, std::string("\xFE\xFF\xFF\xFF", 4));
  Store("list", reg::MULTI_SZ, std::string("a\0\0", 3));
  const Variant fallback = Variant::FromText("default");
  const std::vector<std::pair<std::string, Variant>> table = {
      {"terminated", Variant::FromText("abc")},
      {"ansi", Variant::FromText("\xC3\xA9\xE2\x82\xAC\xC2\x81")},  // é, €, U+0081
      {"unterminated", Variant::FromText("ab")},                    // the last byte always goes
      {"expand", Variant::FromText("%X%")},
      {"binary", Variant::FromText(std::string("a\0b\0", 4))},
      {"number", Variant::FromInt32(-2)},
      {"list", fallback},
      {"absent", fallback},
  };
  for (const auto& [name, expected] : table) {
    EXPECT_EQ(module_.ReadValue(reg::LOCAL_MACHINE, kKey, name, fallback), expected) << name;
    EXPECT_EQ(module_.Error().code, 0) << name;
  }
  EXPECT_EQ(module_.ReadValue(reg::LOCAL_MACHINE, "Software\\Absent", "x", fallback), fallback);
  EXPECT_EQ(module_.Error().code, reg::FILE_NOT_FOUND);
  EXPECT_EQ(module_.Error().text, "Unable to open registry key");
}

}  // namespace
}  // namespace lumivex::test
