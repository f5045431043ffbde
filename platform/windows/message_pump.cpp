#include <windows.h>

#include <chrono>

namespace lumivex {

// Dispatches the host thread's pending messages, then waits for new ones for at most the slice,
// so host calls can re-enter during the wait as they do in the host's own message loop.
void PumpHostMessages(std::chrono::milliseconds slice) {
  MSG msg;
  while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
  MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(slice.count()), QS_ALLINPUT);
}

}  // namespace lumivex
