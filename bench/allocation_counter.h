// Counts the heap allocations of the benchmark program: this program replaces the global
// operator new, so every allocation of the component, the simulator and the library is seen.
#pragma once

#include <cstddef>

namespace lumivex::bench {

// The number of calls of operator new since the program started.
std::size_t AllocationCount();

}  // namespace lumivex::bench
