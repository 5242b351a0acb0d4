#include "windows/hands.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

constexpr const wchar_t* kDialogClass = L"#32770";
constexpr int kTries = 3000;
constexpr DWORD kPauseMs = 5;

std::filesystem::path programPath() {
  std::vector<wchar_t> path(32768);
  GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  return path.data();
}

template <class Condition>
void awaitThat(const std::wstring& what, Condition holds) {
  for (int i = 0; i < kTries; ++i) {
    if (holds()) return;
    Sleep(kPauseMs);
  }
  std::fwprintf(stderr, L"waited in vain for %ls\n", what.c_str());
  std::_Exit(1);
}

}  // namespace

std::filesystem::path Hands::programFolder() { return programPath().parent_path(); }

HWND Hands::await(const wchar_t* windowClass, const std::wstring& title) {
  HWND window = nullptr;
  awaitThat(title, [&] {
    window = FindWindowW(windowClass, title.c_str());
    return window != nullptr && IsWindowVisible(window);
  });
  return window;
}

HWND Hands::awaitMessageBox() { return await(kDialogClass, programPath().stem().wstring()); }

void Hands::awaitGone(HWND window) {
  awaitThat(L"a window to close", [&] { return !IsWindow(window); });
}

std::wstring Hands::textOf(HWND window) {
  wchar_t text[1024] = {};
  SendMessageW(window, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text));
  return text;
}

std::wstring Hands::messageOf(HWND box) {
  constexpr int kMessage = 0xFFFF;
  return textOf(GetDlgItem(box, kMessage));
}

void Hands::press(HWND dialog, int button) {
  PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, button)));
}

void Hands::type(HWND dialog, int control, const std::wstring& text) {
  SendMessageW(GetDlgItem(dialog, control), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void Hands::photograph(HWND window, const std::wstring& name) {
  Sleep(100);  // until all of it is painted
  RECT place{};
  GetWindowRect(window, &place);
  const int width = place.right - place.left, height = place.bottom - place.top;
  const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, screen, place.left, place.top, SRCCOPY);

  BITMAPINFOHEADER format{};
  format.biSize = sizeof format;
  format.biWidth = width;
  format.biHeight = height;
  format.biPlanes = 1;
  format.biBitCount = 32;
  std::vector<char> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), pixels.data(),
            reinterpret_cast<BITMAPINFO*>(&format), DIB_RGB_COLORS);
  const std::filesystem::path folder = programFolder().parent_path() / "screenshots";
  std::filesystem::create_directories(folder);
  std::ofstream file(folder / (name + L".bmp"), std::ios::binary);
  const auto headerBytes = static_cast<std::uint32_t>(14 + sizeof format);
  const std::uint32_t sizes[] = {headerBytes + static_cast<std::uint32_t>(pixels.size()), 0, headerBytes};
  file.write("BM", 2).write(reinterpret_cast<const char*>(sizes), sizeof sizes);
  file.write(reinterpret_cast<const char*>(&format), sizeof format);
  file.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
}
