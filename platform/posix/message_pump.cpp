#include <chrono>
#include <thread>

namespace lumivex {

// No window message queue here: the wait simply sleeps in short slices.
void PumpHostMessages(std::chrono::milliseconds slice) {
  std::this_thread::sleep_for(slice);
}

}  // namespace lumivex
