#include "cli/terminal_test_view.h"

namespace lumivex::cli {

bool ShowReaderTest(const ui::ReaderTestRequest& request, std::ostream& out) {
  ui::ReaderTest test(request, [&out](const std::string& line) {
    out << line << '\n' << std::flush;
  });
  out << test.texts().title << '\n';
  // A terminal shows the title at once, so the timer's first tick is not waited for.
  test.OnTimer();
  return test.succeeded();
}

}  // namespace lumivex::cli
