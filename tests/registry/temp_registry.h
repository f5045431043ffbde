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
  std::string ReadFileText() const {
    std::ifstream in(file_, std::ios::binary);
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

}  // namespace lumivex::test
