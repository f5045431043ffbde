#include "platform/posix/registry_file_store.h"

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "platform/posix/registry_file_format.h"
#include "platform/text/utf8.h"
#include "tests/registry/temp_registry.h"

namespace lumivex::test {
namespace {

std::vector<std::string> Names(RegistryFileStore& store, RegKey key) {
  std::vector<std::string> names;
  char buffer[256];
  for (RegDword i = 0;; ++i) {
    RegDword length = sizeof buffer;
    if (store.EnumValue(key, i, buffer, &length) != reg::SUCCESS) return names;
    names.emplace_back(buffer, length);
  }
}

std::string DeepPath(std::size_t depth) {
  std::string text = "Software";
  for (std::size_t i = 1; i < depth; ++i) text += "\\k";
  return text;
}

using RegistryFileStoreTest = TempRegistry;

TEST_F(RegistryFileStoreTest, EveryValueTypeSurvivesTheFileAndReadsAsAnExport) {
  const std::vector<std::tuple<std::string, RegDword, Bytes>> values = {
      // String data crosses the seam in Windows-1252 and lives in the file as UTF-8.
      {"Text", reg::SZ, Text(std::string("C:\\Data \"q\" caf\xE9\0", 17))},
      {"Unterminated", reg::SZ, Text("abc")},
      {"Path", reg::EXPAND_SZ, Text(std::string("%TEMP%\\\x80\0", 9))},
      {"Bytes", reg::BINARY, Bytes(60, 0xA5)},
      {"Number", reg::DWORD, Bytes{10, 0, 0, 0}},
      {"Short", reg::DWORD, Bytes{1, 2}},
      {"List", reg::MULTI_SZ, Text(std::string("a\0b\0\0", 5))},
      {"", reg::SZ, Text(std::string("default\0", 8))},
  };
  {
    RegistryFileStore writer;
    const RegKey key = Create(writer, reg::LOCAL_MACHINE, "Software\\Vendor\\App");
    for (const auto& [name, type, data] : values) ASSERT_EQ(Set(writer, key, name, type, data), 0);
  }
  RegistryFileStore reader;
  RegKey key = 0;
  ASSERT_EQ(reader.OpenKey(reg::LOCAL_MACHINE, "Software\\Vendor\\App", reg::KEY_READ_ACCESS, &key),
            reg::SUCCESS);
  for (const auto& [name, type, data] : values) {
    EXPECT_EQ(Get(reader, key, name), std::make_pair(type, data)) << name;
  }
  const std::string text = ReadFileText();
  EXPECT_TRUE(
      text.starts_with("Windows Registry Editor Version 5.00\n\n"
                       "[HKEY_LOCAL_MACHINE\\Software\\Vendor\\App]\n"
                       "\"Text\"=\"C:\\\\Data \\\"q\\\" caf\xC3\xA9\"\n"
                       "\"Unterminated\"=hex(1):61,00,62,00,63,00\n"))
      << text;
  EXPECT_NE(text.find("\"Path\"=hex(2):25,00,54,00,45,00,4d,00,50,00,25,00,5c,00,ac,20,00,00\n"),
            std::string::npos);
  for (const char* line : {"\"Number\"=dword:0000000a\n\"Short\"=hex(4):01,02\n", "a5,a5,\\\n  a5,",
                           "\n@=\"default\"\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line;
  std::string problem;
  const auto reparsed = ParseRegistryText(text, problem);
  ASSERT_TRUE(reparsed) << problem;
  EXPECT_EQ(FormatRegistryText(*reparsed), text);
}

TEST_F(RegistryFileStoreTest, KeysIgnoreCaseAndValuesKeepTheirOrder) {
  RegistryFileStore store;
  const RegKey key = Create(store, reg::CURRENT_USER, "Software\\Vendor");
  for (const char* name : {"b", "a", "C"}) ASSERT_EQ(Set(store, key, name, reg::SZ, Text("1")), 0);
  RegKey same = 0;
  ASSERT_EQ(store.OpenKey(reg::CURRENT_USER, "SOFTWARE\\vendor", reg::KEY_READ_ACCESS, &same), 0);
  ASSERT_EQ(Set(store, same, "A", reg::DWORD, Bytes{2, 0, 0, 0}), 0);  // replaces "a" in place
  EXPECT_EQ(Names(store, same), (std::vector<std::string>{"b", "a", "C"}));
  EXPECT_EQ(Get(store, key, "a").first, reg::DWORD);
  RegKey other = 0;
  EXPECT_EQ(store.OpenKey(reg::LOCAL_MACHINE, "Software\\Vendor", reg::KEY_READ_ACCESS, &other),
            reg::FILE_NOT_FOUND);
}

// Exports are saved as UTF-16LE with a byte-order mark; an operator's editor may save Latin-1.
// Either reads as the same text (in Windows-1252 at the seam), keeps its comments and value across
// a rewrite.
TEST_F(RegistryFileStoreTest, ReadsUtf16AndLatin1FilesAndKeepsThemAcrossRewrites) {
  const std::string exported =
      "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Cards]\r\n"
      "; Mifare Classic 1K\r\n\"1K\"=\"Caf\xC3\xA9;3B\"\r\n\"CJK\"=\"\xE4\xB8\xAD\"\r\n";
  std::string utf16 = "\xFF\xFE";
  for (const std::uint8_t byte : Utf8ToUtf16Le(exported)) utf16.push_back(static_cast<char>(byte));
  std::string latin1 = exported;
  latin1.replace(latin1.find("\xC3\xA9"), 2, "\xE9");
  for (const std::string& file : {utf16, latin1}) {
    WriteFileText(file);
    RegistryFileStore store;
    const RegKey key = Create(store, reg::LOCAL_MACHINE, "software\\cards");
    const Bytes expected = Text(std::string("Caf\xE9;3B\0", 8));
    EXPECT_EQ(Get(store, key, "1K").second, expected);
    EXPECT_EQ(Get(store, key, "CJK").second, Text(std::string("?\0", 2)));
    ASSERT_EQ(Set(store, key, "new", reg::SZ, Text(std::string("x\0", 2))), 0);
    EXPECT_TRUE(ReadFileText().starts_with(
        "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Cards]\n"
        "; Mifare Classic 1K\n\"1K\"="))
        << ReadFileText();
    RegistryFileStore reread;
    EXPECT_EQ(Get(reread, Create(reread, reg::LOCAL_MACHINE, "Software\\Cards"), "1K").second,
              expected);
  }
}

TEST_F(RegistryFileStoreTest, MalformedFilesAreReportedAndNeverRewritten) {
  const std::string head =
      "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software]\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "line 1"},
      {head.substr(0, 50), "line 3"},  // torn inside the key line
      {head + R"("a"="tor)", "line 4"},
      {head + "\"a\"=hex:01,02,\\\n", "line 4"},
      {head + "\"a\"=\"C:\\Temp\"\n", "line 4"},
      {head + "\"a\"=dword:123456789\n", "line 4"},
      {"Windows Registry Editor Version 5.00\n[HKEY_USERS\\x]\n", "line 2"},
      // Trees are written and destroyed recursively: too deep a file must not exhaust the stack.
      {head.substr(0, 58) + DeepPath(200000) + "]\n", "line 3: key path deeper than 512"},
  };
  for (const auto& [text, where] : cases) {
    WriteFileText(text);
    RegistryFileStore store;
    RegKey key = 0;
    EXPECT_EQ(store.OpenKey(reg::LOCAL_MACHINE, "Software", reg::KEY_READ_ACCESS, &key), reg::BADDB)
        << text;
    EXPECT_NE(store.LastProblem().find(where), std::string::npos) << store.LastProblem();
    EXPECT_EQ(store.CreateKey(reg::LOCAL_MACHINE, "Software\\New", 0, 0, &key, nullptr),
              reg::BADDB);
    EXPECT_EQ(ReadFileText(), text);
  }
}

TEST_F(RegistryFileStoreTest, AnInterruptedWriteLeavesTheOldFileInUse) {
  RegistryFileStore store;
  const RegKey key = Create(store, reg::LOCAL_MACHINE, "Software");
  ASSERT_EQ(Set(store, key, "kept", reg::SZ, Text(std::string("yes\0", 4))), 0);
  const std::string before = ReadFileText();
  // What a writer killed before its rename leaves behind.
  std::ofstream(file_.string() + ".tmp") << "Windows Registry Editor Version 5.00\n[HKEY_LOC";
  RegistryFileStore other;
  const RegKey same = Create(other, reg::LOCAL_MACHINE, "Software");
  EXPECT_EQ(Get(other, same, "kept").second, Text(std::string("yes\0", 4)));
  EXPECT_EQ(ReadFileText(), before);
  ASSERT_EQ(Set(other, same, "next", reg::DWORD, Bytes{1, 0, 0, 0}), 0);
  EXPECT_EQ(Names(store, key), (std::vector<std::string>{"kept", "next"}));
  EXPECT_FALSE(std::filesystem::exists(file_.string() + ".tmp"));
}

// Each writer has a store object of its own, as another component would have.
int AppendValues(const std::string& prefix) {
  RegistryFileStore store;
  const RegKey key = Create(store, reg::LOCAL_MACHINE, "Software\\Cards");
  int failures = 0;
  for (int i = 0; i < 25; ++i)
    failures += Set(store, key, prefix + std::to_string(i), 1, {'x'}) != 0;
  return failures;
}

TEST_F(RegistryFileStoreTest, ConcurrentWritersLoseNothing) {
  int failures[2] = {};
  std::thread a([&] { failures[0] = AppendValues("thread-a-"); });
  std::thread b([&] { failures[1] = AppendValues("thread-b-"); });
  a.join();
  b.join();
  EXPECT_EQ(failures[0] + failures[1], 0);
  std::vector<pid_t> children;
  for (const char* prefix : {"process-a-", "process-b-"}) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) ::_exit(AppendValues(prefix) == 0 ? 0 : 1);
    children.push_back(pid);
  }
  for (const pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  RegistryFileStore store;
  EXPECT_EQ(Names(store, Create(store, reg::LOCAL_MACHINE, "Software\\Cards")).size(), 100u);
}

}  // namespace
}  // namespace lumivex::test
