#include "tests/com/window_probe.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <thread>

namespace lumivex::wine {

HWND FindDialog(DWORD process, const std::wstring& title) {
  HWND dialog = FindWindowW(L"#32770", title.c_str());
  DWORD owner = 0;
  if (dialog != nullptr) GetWindowThreadProcessId(dialog, &owner);
  return owner == process && IsWindowVisible(dialog) != FALSE ? dialog : nullptr;
}

std::wstring WindowText(HWND window) {
  const auto length = SendMessageW(window, WM_GETTEXTLENGTH, 0, 0);
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const auto copied =
      SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<std::size_t>(copied));
  return text;
}

std::wstring ClassOf(HWND window) {
  std::array<wchar_t, 64> name{};
  const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return {name.data(), static_cast<std::size_t>(length > 0 ? length : 0)};
}

std::vector<std::wstring> ListEntries(HWND comboBox) {
  std::vector<std::wstring> entries;
  const auto count = SendMessageW(comboBox, CB_GETCOUNT, 0, 0);
  for (LRESULT i = 0; i < count; ++i) {
    const auto length = SendMessageW(comboBox, CB_GETLBTEXTLEN, i, 0);
    if (length < 0) break;
    std::wstring entry(static_cast<std::size_t>(length) + 1, L'\0');
    SendMessageW(comboBox, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(entry.data()));
    entry.resize(static_cast<std::size_t>(length));
    entries.push_back(entry);
  }
  return entries;
}

HWND FocusIn(HWND window) {
  GUITHREADINFO info{};
  info.cbSize = sizeof(info);
  if (GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info) == FALSE) return nullptr;
  return info.hwndFocus;
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

bool SaveWindowPicture(HWND window, const std::wstring& path) {
  RECT r{};
  GetWindowRect(window, &r);
  const int width = r.right - r.left;
  const int height = r.bottom - r.top;
  HDC screen = GetDC(nullptr);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  HGDIOBJ previous = SelectObject(memory, bitmap);
  const bool copied = BitBlt(memory, 0, 0, width, height, screen, r.left, r.top, SRCCOPY) != FALSE;
  SelectObject(memory, previous);
  // 24-bit rows, each a multiple of four bytes long, from the bottom up as BMP files hold them.
  BITMAPINFOHEADER header{sizeof(header), width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  std::vector<char> pixels(static_cast<std::size_t>(((width * 3 + 3) & ~3) * height));
  const bool read = copied && height > 0 &&
                    GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(),
                              reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS) == height;
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  const DWORD offset = sizeof(BITMAPFILEHEADER) + sizeof(header);
  const BITMAPFILEHEADER file{0x4D42 /* "BM" */, offset + static_cast<DWORD>(pixels.size()), 0, 0,
                              offset};
  std::ofstream out(std::filesystem::path(path), std::ios::binary);
  out.write(reinterpret_cast<const char*>(&file), sizeof(file));
  out.write(reinterpret_cast<const char*>(&header), sizeof(header));
  out.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
  return read && out.good();
}

RECT ClientRect(HWND control) {
  RECT r{};
  GetWindowRect(control, &r);
  MapWindowPoints(nullptr, GetParent(control), reinterpret_cast<POINT*>(&r), 2);
  return r;
}

}  // namespace lumivex::wine
