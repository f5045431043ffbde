#include "platform/posix/registry_file_store.h"

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "component/utf8.h"
#include "platform/platform.h"
#include "platform/posix/registry_file_format.h"
#include "tests/registry/temp_registry.h"

namespace lumivex::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Text(const std::string& s) {
  return {s.begin(), s.end()};
}

RegKey Create(RegistryFileStore& store, RegKey root, const std::string& path) {
  RegKey key = 0;
  EXPECT_EQ(store.CreateKey(root, path, 0, reg::KEY_WRITE_ACCESS, &key, nullptr), reg::SUCCESS);
  return key;
}

RegResult Set(RegistryFileStore& store, RegKey key, const std::string& name, RegDword type,
              const Bytes& data) {
  return store.SetValue(key, name, type, data.data(), static_cast<RegDword>(data.size()));
}

std::pair<RegDword, Bytes> Get(RegistryFileStore& store, RegKey key, const std::string& name) {
  RegDword type = 0;
  RegDword size = 0;
  EXPECT_EQ(store.QueryValue(key, name, &type, nullptr, &size), reg::SUCCESS) << name;
  Bytes data(size);
  EXPECT_EQ(store.QueryValue(key, name, &type, data.data(), &size), reg::SUCCESS) << name;
  return {type, data};
}

std::vector<std::string> Names(RegistryFileStore& store, RegKey key) {
  std::vector<std::string> names;
  char buffer[256];
  for (RegDword i = 0;; ++i) {
    RegDword length = sizeof buffer;
    if (store.EnumValue(key, i, buffer, &length) != reg::SUCCESS) return names;
    names.emplace_back(buffer, length);
  }
}

using RegistryFileStoreTest = TempRegistry;

TEST_F(RegistryFileStoreTest, EveryValueTypeSurvivesTheFileAndReadsAsAnExport) {
  const std::vector<std::tuple<std::string, RegDword, Bytes>> values = {
      {"Text", reg::SZ, Text(std::string("C:\\Data \"q\" caf\xC3\xA9\0", 18))},
      {"Unterminated", reg::SZ, Text("abc")},
      {"Path", reg::EXPAND_SZ, Text(std::string("%TEMP%\\\xE2\x82\xAC\0", 11))},
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
  EXPECT_NE(text.find("\"Number\"=dword:0000000a\n\"Short\"=hex(4):01,02\n"), std::string::npos);
  EXPECT_NE(text.find("a5,a5,\\\n  a5,"), std::string::npos);  // long lists continue as exports do
  EXPECT_NE(text.find("\n@=\"default\"\n"), std::string::npos);
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
  EXPECT_NE(ReadFileText().find("[HKEY_CURRENT_USER\\Software\\Vendor]"), std::string::npos);
  RegKey other = 0;
  EXPECT_EQ(store.OpenKey(reg::LOCAL_MACHINE, "Software\\Vendor", reg::KEY_READ_ACCESS, &other),
            reg::FILE_NOT_FOUND);
  EXPECT_EQ(store.CloseKey(same), reg::SUCCESS);
  EXPECT_EQ(store.CloseKey(same), reg::INVALID_HANDLE);
}

TEST_F(RegistryFileStoreTest, ReadsWindowsExportsAndKeepsTheOperatorsComments) {
  const std::string exported =
      "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Cards]\r\n"
      "; Mifare Classic 1K\r\n\"1K\"=\"11;3B 8F;04\"\r\n\"Add new cards\"=dword:00000001\r\n";
  std::string utf16 = "\xFF\xFE";  // exports are saved as UTF-16LE with a byte-order mark
  for (const std::uint8_t byte : Utf8ToUtf16Le(exported)) utf16.push_back(static_cast<char>(byte));
  WriteFileText(utf16);
  RegistryFileStore store;
  const RegKey key = Create(store, reg::LOCAL_MACHINE, "software\\cards");
  EXPECT_EQ(Get(store, key, "1K").second, Text(std::string("11;3B 8F;04\0", 12)));
  ASSERT_EQ(Set(store, key, "new", reg::SZ, Text(std::string("x\0", 2))), 0);
  EXPECT_EQ(ReadFileText(),
            "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Cards]\n"
            "; Mifare Classic 1K\n\"1K\"=\"11;3B 8F;04\"\n\"Add new cards\"=dword:00000001\n"
            "\"new\"=\"x\"\n\n");
}

// An operator's editor may save the file in Latin-1: such text reads as the same characters in
// UTF-8, and keeps its bytes when the store later rewrites the file for another change.
TEST_F(RegistryFileStoreTest, EightBitTextKeepsItsValueAcrossRewrites) {
  WriteFileText(
      "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software]\n"
      "\"name\"=\"Caf\xE9\"\n");
  RegistryFileStore store;
  const RegKey key = Create(store, reg::LOCAL_MACHINE, "Software");
  const Bytes expected = Text(std::string("Caf\xC3\xA9\0", 6));
  EXPECT_EQ(Get(store, key, "name").second, expected);
  ASSERT_EQ(Set(store, key, "other", reg::DWORD, Bytes{1, 0, 0, 0}), 0);
  RegistryFileStore reread;
  RegKey again = 0;
  ASSERT_EQ(reread.OpenKey(reg::LOCAL_MACHINE, "Software", reg::KEY_READ_ACCESS, &again), 0);
  EXPECT_EQ(Get(reread, again, "name").second, expected);
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

// Trees are written and destroyed recursively: a hand-edited file or a caller's path deeper than
// the registry allows must be refused, not exhaust the stack.
TEST_F(RegistryFileStoreTest, KeyPathsDeeperThanTheRegistryAllowsAreRefused) {
  auto path = [](std::size_t depth) {
    std::string text = "Software";
    for (std::size_t i = 1; i < depth; ++i) text += "\\k";
    return text;
  };
  const std::string deep =
      "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\" + path(200000) + "]\n";
  WriteFileText(deep);
  {
    RegistryFileStore store;
    RegKey key = 0;
    EXPECT_EQ(store.OpenKey(reg::LOCAL_MACHINE, "Software", reg::KEY_READ_ACCESS, &key),
              reg::BADDB);
    EXPECT_NE(store.LastProblem().find("line 3: key path deeper than 512"), std::string::npos)
        << store.LastProblem();
    EXPECT_EQ(store.CreateKey(reg::LOCAL_MACHINE, "Software", 0, 0, &key, nullptr), reg::BADDB);
  }
  EXPECT_EQ(ReadFileText(), deep);

  std::filesystem::remove(file_);  // no file: an empty registry
  RegistryFileStore store;
  RegKey key = 0;
  EXPECT_EQ(store.CreateKey(reg::LOCAL_MACHINE, path(513), 0, 0, &key, nullptr),
            reg::INVALID_PARAMETER);
  const RegKey deepest = Create(store, reg::LOCAL_MACHINE, path(512));
  EXPECT_EQ(store.CreateKey(deepest, "one more", 0, 0, &key, nullptr), reg::INVALID_PARAMETER);
  EXPECT_EQ(Set(store, deepest, "v", reg::DWORD, Bytes{1, 0, 0, 0}), reg::SUCCESS);
  RegistryFileStore reread;
  EXPECT_EQ(reread.OpenKey(reg::LOCAL_MACHINE, path(512), reg::KEY_READ_ACCESS, &key),
            reg::SUCCESS);
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

void AppendValues(const std::string& prefix, int count, int& failures) {
  RegistryFileStore store;  // an object of its own, as another component would have
  const RegKey key = Create(store, reg::LOCAL_MACHINE, "Software\\Cards");
  for (int i = 0; i < count; ++i) {
    if (Set(store, key, prefix + std::to_string(i), reg::SZ, Text("x")) != 0) ++failures;
  }
}

TEST_F(RegistryFileStoreTest, ConcurrentWritersLoseNothing) {
  constexpr int kEach = 25;
  int failuresA = 0;
  int failuresB = 0;
  std::thread a(AppendValues, "thread-a-", kEach, std::ref(failuresA));
  std::thread b(AppendValues, "thread-b-", kEach, std::ref(failuresB));
  a.join();
  b.join();
  std::vector<pid_t> children;
  for (const char* prefix : {"process-a-", "process-b-"}) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int failures = 0;
      AppendValues(prefix, kEach, failures);
      ::_exit(failures == 0 ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (const pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_EQ(failuresA + failuresB, 0);
  RegistryFileStore store;
  RegKey key = 0;
  ASSERT_EQ(store.OpenKey(reg::LOCAL_MACHINE, "Software\\Cards", reg::KEY_READ_ACCESS, &key), 0);
  EXPECT_EQ(Names(store, key).size(), 4u * kEach);
}

TEST_F(RegistryFileStoreTest, RootsLiveInTheirFilesAndRemoteComputersAreRefused) {
  RegistryFileStore store({dir_ / "machine.reg", dir_ / "user" / "registry.reg"});
  Set(store, Create(store, reg::CURRENT_USER, "U"), "u", reg::DWORD, Bytes{1, 0, 0, 0});
  Set(store, Create(store, reg::CLASSES_ROOT, "C"), "c", reg::DWORD, Bytes{1, 0, 0, 0});
  std::ifstream user(dir_ / "user" / "registry.reg");
  std::ifstream machine(dir_ / "machine.reg");
  EXPECT_NE(std::string(std::istreambuf_iterator<char>(user), {}).find("[HKEY_CURRENT_USER\\U]"),
            std::string::npos);
  EXPECT_NE(std::string(std::istreambuf_iterator<char>(machine), {}).find("[HKEY_CLASSES_ROOT\\C]"),
            std::string::npos);
  RegKey remote = 0;
  EXPECT_EQ(store.ConnectRegistry("\\\\host", reg::LOCAL_MACHINE, &remote), reg::BAD_NETPATH);
  EXPECT_EQ(RegistryFileStore::DefaultFiles().user, file_);  // LUMIVEX_REGISTRY holds every root
  EXPECT_NE(dynamic_cast<RegistryFileStore*>(DefaultPlatform().registry.get()), nullptr);
  if (::geteuid() != 0) {  // root writes anywhere
    std::filesystem::permissions(
        dir_, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    RegKey key = 0;
    EXPECT_EQ(store.CreateKey(reg::LOCAL_MACHINE, "New", 0, 0, &key, nullptr), reg::ACCESS_DENIED);
  }
}

}  // namespace
}  // namespace lumivex::test
