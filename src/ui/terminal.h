#pragma once

#include <memory>
#include <optional>
#include <string>

#include "framework/user_interface.h"

/// While a person is waited for, `stops` is asked every now and then; true ends the waiting as the end of the
/// input does. A signal handler alone can't: the signal may come just before the waiting begins.
void stopWaitingWhen(bool (*stops)());

/// Asks on standard error and reads the answer from standard input; true for Yes. Where the two are not both
/// terminals nobody is asked and the answer is No. Texts are UTF-8.
bool askOnTerminal(const std::string& question);

/// Asks for a line of text in the same way and gives what was entered, `value` for an empty line; nothing at
/// the end of the input, or where nobody can be asked.
std::optional<std::string> enterOnTerminal(const std::string& caption, const std::string& value);

/// A line for a person there; nothing where nobody can be asked.
void tellOnTerminal(const std::string& text);

/// A bar on standard error; null where that is no terminal.
std::unique_ptr<ProgressWindow> openTerminalBar(const std::string& title);

/// A person at a terminal: questions and progress as above, messages on standard error.
class TerminalInterface : public UserInterface {
 public:
  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  /// Asks for a path; an empty line cancels.
  std::optional<CString> chooseFile(const CString& filter, int filterIndex) override;
  bool modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) override;
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;
};
