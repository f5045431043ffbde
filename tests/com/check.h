// Checks for the programs that run under Wine against the real DLL: each check prints one line,
// and the program ends with a summary line; the exit status is the number of failures (capped).
#pragma once

#include <cstdio>
#include <string>

namespace lumivex::wine {

class Checks {
 public:
  explicit Checks(const char* program) : program_(program) {}

  bool That(bool condition, const std::string& what) {
    ++count_;
    if (!condition) ++failed_;
    (void)std::printf("%s %s\n", condition ? "ok  " : "FAIL", what.c_str());
    (void)std::fflush(stdout);
    return condition;
  }
  void Skip(const std::string& what, const std::string& why) {
    ++skipped_;
    (void)std::printf("SKIPPED %s: %s\n", what.c_str(), why.c_str());
    (void)std::fflush(stdout);
  }
  [[nodiscard]] int Finish() const {
    (void)std::printf("SUMMARY %s: %d checks, %d failed, %d skipped\n", program_, count_, failed_,
                      skipped_);
    (void)std::fflush(stdout);
    return failed_ > 100 ? 100 : failed_;
  }

 private:
  const char* program_;
  int count_ = 0;
  int failed_ = 0;
  int skipped_ = 0;
};

}  // namespace lumivex::wine
