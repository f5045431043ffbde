// A store file in a fresh temporary directory, named by LUMIVEX_REGISTRY for the test's duration,
// so no test touches /etc or the user's configuration.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/posix/registry_file_store.h"

namespace lumivex::test {

// Derived fixtures may build stores in their member initializers: the variable is already set
// then, because the base is constructed first.
class TempRegistry : public ::testing::Test {
 protected:
  TempRegistry() {
    std::string pattern = (std::filesystem::temp_directory_path() / "lumivex-reg-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    dir_ = pattern;
    file_ = dir_ / "registry.reg";
    ::setenv("LUMIVEX_REGISTRY", file_.c_str(), 1);
  }
  ~TempRegistry() override {
    ::unsetenv("LUMIVEX_REGISTRY");
    std::error_code ignored;
    std::filesystem::permissions(dir_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(dir_, ignored);
  }
  std::string ReadFileText() const { return ReadFileText(file_); }
  static std::string ReadFileText(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  void WriteFileText(const std::string& text) const {
    std::ofstream(file_, std::ios::binary) << text;
  }

  std::filesystem::path dir_;
  std::filesystem::path file_;
};

// Store helpers shared by the tests of the file store and of its callers.
using Bytes = std::vector<std::uint8_t>;

inline Bytes Text(const std::string& s) {
  return {s.begin(), s.end()};
}

inline RegKey Create(RegistryFileStore& store, RegKey root, const std::string& path) {
  RegKey key = 0;
  EXPECT_EQ(store.CreateKey(root, path, 0, reg::KEY_WRITE_ACCESS, &key, nullptr), reg::SUCCESS);
  return key;
}

inline RegResult Set(RegistryFileStore& store, RegKey key, const std::string& name, RegDword type,
                     const Bytes& data) {
  return store.SetValue(key, name, type, data.data(), static_cast<RegDword>(data.size()));
}

inline std::pair<RegDword, Bytes> Get(RegistryFileStore& store, RegKey key,
                                      const std::string& name) {
  RegDword type = 0;
  RegDword size = 0;
  EXPECT_EQ(store.QueryValue(key, name, &type, nullptr, &size), reg::SUCCESS) << name;
  Bytes data(size);
  EXPECT_EQ(store.QueryValue(key, name, &type, data.data(), &size), reg::SUCCESS) << name;
  return {type, data};
}

}  // namespace lumivex::test
