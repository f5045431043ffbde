// The trace of the COM server: when the environment variable LUMIVEX_TRACE names a file, each
// Encoder appends its trace lines there (keys already masked by the component); otherwise the
// lines go nowhere.
#pragma once

#include "component/encoder.h"

namespace lumivex::com {

// The sink for a new Encoder: empty when LUMIVEX_TRACE is not set or the file cannot be opened.
Encoder::TraceSink TraceFileSink();

}  // namespace lumivex::com
