// The card list's store file as an operator may leave it: any bytes at all. Parsing either
// gives a document or names the bad line; a document written back reads again to the same text.
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/fuzz_check.h"
#include "platform/posix/registry_file_format.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string problem;
  const std::optional<lumivex::RegistryDocument> document =
      lumivex::ParseRegistryText(text, problem);
  if (!document) {
    FUZZ_CHECK(problem.rfind("line ", 0) == 0);
    return 0;
  }
  const std::string written = lumivex::FormatRegistryText(*document);
  std::string again;
  const std::optional<lumivex::RegistryDocument> reread =
      lumivex::ParseRegistryText(written, again);
  if (!reread) (void)std::fprintf(stderr, "written text refused: %s\n", again.c_str());
  FUZZ_CHECK(reread.has_value());
  FUZZ_CHECK(lumivex::FormatRegistryText(*reread) == written);
  return 0;
}
