// The fuzz targets' assertion: a broken property aborts the run with the failing condition, so
// libFuzzer keeps the input that shows it (assert() would vanish in optimised builds).
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                  \
  do {                                                                                         \
    if (!(condition)) {                                                                        \
      (void)std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                            \
    }                                                                                          \
  } while (false)
