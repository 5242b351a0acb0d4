#include "windows/hands.h"

#include <cstdio>
#include <cstdlib>
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
