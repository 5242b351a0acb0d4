#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include <filesystem>
#include <functional>
#include <string>
#include <thread>

/// A user's hands on the real windows of this process, on a thread of their own while the test's thread waits
/// in a dialog. Whatever is awaited and does not come within some seconds ends the program: nobody else would
/// close the dialog.
class Hands {
 public:
  /// `actions` run on the other thread.
  explicit Hands(std::function<void()> actions) : m_thread(std::move(actions)) {}
  ~Hands() { m_thread.join(); }

  /// The window of that class and title that is seen.
  static HWND await(const wchar_t* windowClass, const std::wstring& title);
  static HWND awaitMessageBox();
  static void awaitGone(HWND window);

  /// Where the test program lies, and the others beside it.
  static std::filesystem::path programFolder();

  static std::wstring textOf(HWND window);
  /// Text of a message box.
  static std::wstring messageOf(HWND box);

  static void press(HWND dialog, int button);
  static void type(HWND dialog, int control, const std::wstring& text);

 private:
  std::thread m_thread;
};
