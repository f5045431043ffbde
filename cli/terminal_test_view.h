// The test dialog on a terminal: its title, then each line of the test as soon as it is known.
#pragma once

#include <ostream>

#include "ui/reader_test.h"

namespace lumivex::cli {

// Runs the test and shows it; true when it ended with the success line.
bool ShowReaderTest(const ui::ReaderTestRequest& request, std::ostream& out);

}  // namespace lumivex::cli
