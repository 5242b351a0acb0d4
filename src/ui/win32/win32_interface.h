#pragma once

#include "framework/user_interface.h"

/// Real windows, owned by the window that the user works in.
class Win32Interface : public UserInterface {
 public:
  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  std::optional<CString> chooseFile(const CString& filter, int filterIndex) override;
  /// From the dialog resource in this library or program.
  bool modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) override;
  /// A modeless window that keeps painting while the thread works, and can't be closed by the user.
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;
};
