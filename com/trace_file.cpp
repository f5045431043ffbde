#include "com/trace_file.h"

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace lumivex::com {

namespace {

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

std::wstring Environment(const wchar_t* name) {
  const DWORD length = GetEnvironmentVariableW(name, nullptr, 0);
  if (length == 0) return {};
  std::vector<wchar_t> value(length);
  const DWORD written = GetEnvironmentVariableW(name, value.data(), length);
  return written > 0 && written < length ? std::wstring(value.data(), written) : std::wstring();
}

}  // namespace

Encoder::TraceSink TraceFileSink() {
  const std::wstring path = Environment(L"LUMIVEX_TRACE");
  if (path.empty()) return {};
  // Appended to, and shared: several Encoders (and processes) may write the same file.
  HANDLE raw = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                           nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (raw == INVALID_HANDLE_VALUE) return {};
  auto file = std::make_shared<UniqueHandle>(raw);
  return [file](std::string_view line) {
    std::string record(line);
    record += "\r\n";
    DWORD written = 0;
    WriteFile(file->get(), record.data(), static_cast<DWORD>(record.size()), &written, nullptr);
  };
}

}  // namespace lumivex::com
