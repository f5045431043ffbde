#include "tests/com/window_probe.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <thread>

namespace lumivex::wine {

namespace {

struct Search {
  DWORD process;
  std::vector<HWND> found;
};

BOOL CALLBACK Collect(HWND window, LPARAM data) {
  auto& search = *reinterpret_cast<Search*>(data);  // NOLINT(performance-no-int-to-ptr)
  DWORD owner = 0;
  GetWindowThreadProcessId(window, &owner);
  if (owner == search.process && IsWindowVisible(window) != FALSE && ClassOf(window) == L"#32770") {
    search.found.push_back(window);
  }
  return TRUE;
}

// Device contexts and bitmaps of the picture, released in reverse order.
struct Picture {
  HDC screen = GetDC(nullptr);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = nullptr;
  HGDIOBJ previous = nullptr;
  Picture() = default;
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  Picture(Picture&&) = delete;
  Picture& operator=(Picture&&) = delete;
  ~Picture() {
    if (previous != nullptr) SelectObject(memory, previous);
    if (bitmap != nullptr) DeleteObject(bitmap);
    if (memory != nullptr) DeleteDC(memory);
    if (screen != nullptr) ReleaseDC(nullptr, screen);
  }
};

template <typename T>
void Put(std::ofstream& out, T value) {
  out.write(reinterpret_cast<const char*>(&value), sizeof(value));
}

}  // namespace

std::vector<HWND> DialogsOf(DWORD process) {
  Search search{process, {}};
  EnumWindows(&Collect, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

HWND FindDialog(DWORD process, const std::wstring& title) {
  for (HWND dialog : DialogsOf(process)) {
    if (WindowText(dialog) == title) return dialog;
  }
  return nullptr;
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

std::wstring SelectedEntry(HWND comboBox) {
  const auto selected = SendMessageW(comboBox, CB_GETCURSEL, 0, 0);
  const auto entries = ListEntries(comboBox);
  if (selected < 0 || static_cast<std::size_t>(selected) >= entries.size()) return {};
  return entries[static_cast<std::size_t>(selected)];
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
  if (GetWindowRect(window, &r) == FALSE) return false;
  const int width = r.right - r.left;
  const int height = r.bottom - r.top;
  Picture picture;
  if (picture.screen == nullptr || picture.memory == nullptr || width <= 0 || height <= 0) {
    return false;
  }
  picture.bitmap = CreateCompatibleBitmap(picture.screen, width, height);
  if (picture.bitmap == nullptr) return false;
  picture.previous = SelectObject(picture.memory, picture.bitmap);
  if (BitBlt(picture.memory, 0, 0, width, height, picture.screen, r.left, r.top, SRCCOPY) ==
      FALSE) {
    return false;
  }
  BITMAPINFOHEADER header{};
  header.biSize = sizeof(header);
  header.biWidth = width;
  header.biHeight = height;  // bottom-up rows, as BMP files hold them
  header.biPlanes = 1;
  header.biBitCount = 24;
  header.biCompression = BI_RGB;
  const auto stride = static_cast<std::uint32_t>((width * 3 + 3) & ~3);
  std::vector<char> pixels(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
  SelectObject(picture.memory, picture.previous);
  picture.previous = nullptr;
  if (GetDIBits(picture.memory, picture.bitmap, 0, static_cast<UINT>(height), pixels.data(),
                reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS) == 0) {
    return false;
  }
  std::ofstream out(std::filesystem::path(path), std::ios::binary);
  const std::uint32_t offset = 14 + sizeof(header);
  Put<std::uint16_t>(out, 0x4D42);  // "BM"
  Put<std::uint32_t>(out, offset + static_cast<std::uint32_t>(pixels.size()));
  Put<std::uint32_t>(out, 0);
  Put<std::uint32_t>(out, offset);
  Put(out, header);
  out.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
  return out.good();
}

RECT ClientRect(HWND control) {
  RECT r{};
  GetWindowRect(control, &r);
  MapWindowPoints(nullptr, GetParent(control), reinterpret_cast<POINT*>(&r), 2);
  return r;
}

}  // namespace lumivex::wine
