#pragma once

#include "framework/user_interface.h"

/// A person at a terminal: messages and questions on standard error, answers from standard input, a progress
/// bar on standard error. Where standard error is no terminal, no bar is shown; where the two are not both
/// terminals, nobody is asked and the answer is No.
class TerminalInterface : public UserInterface {
 public:
  /// `showProgress` false: no bar even on a terminal.
  explicit TerminalInterface(bool showProgress = true) : m_showProgress(showProgress) {}

  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;

 private:
  bool m_showProgress;
};
