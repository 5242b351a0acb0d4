#pragma once

#include <windows.h>

#include "framework/user_interface.h"

/// A title and a bar. Its messages, and no others, are handled at every step: it keeps painting, and the host
/// is not entered again while it waits.
class Win32Progress : public ProgressWindow {
 public:
  explicit Win32Progress(const CString& title);
  ~Win32Progress() override;

  void setRange(int low, int high) override;
  void setPosition(int position) override;

 private:
  void paint();

  HWND m_window = nullptr;
  HWND m_bar = nullptr;
  bool m_quit = false;  // the host was told to end
  int m_exitCode = 0;
};
