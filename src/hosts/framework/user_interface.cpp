#include <megreader/framework/user_interface.h>

#include <atomic>

#include "base/finding_codes.h"
#ifdef _WIN32
UserInterface* defaultUserInterface();  // real windows: dialogs/
#else
static UserInterface* defaultUserInterface() { return nullptr; }
#endif

namespace {

std::atomic<UserInterface*> processInterface{nullptr};
thread_local UserInterface* threadInterface = nullptr;

}  // namespace

ProgressWindow::~ProgressWindow() = default;
UserInterface::~UserInterface() = default;
DialogWindow::~DialogWindow() = default;
DialogOwner::~DialogOwner() = default;
std::optional<CString> UserInterface::chooseFile(const CString& /*filter*/, int /*filterIndex*/) {
  reportUnshown(L"the file dialog can't be shown");
  return std::nullopt;
}
bool UserInterface::modalDialog(const DialogTemplate& /*dialogTemplate*/, DialogOwner& /*owner*/) {
  reportUnshown(L"the dialog can't be shown");
  return false;
}
void UserInterface::report(const Finding& /*finding*/) {}
void UserInterface::reportUnshown(const wchar_t* text) {
  report({.severity = Finding::Severity::warning,
          .code = ctfmeg::wordOf(ctfmeg::Code::dialogUnshown),
          .file = {},
          .text = text});
}

UserInterface* currentUserInterface() {
  if (threadInterface != nullptr) return threadInterface;
  UserInterface* ofProcess = processInterface.load();
  return ofProcess != nullptr ? ofProcess : defaultUserInterface();
}

void installUserInterface(UserInterface* ui) { processInterface = ui; }

ThreadUserInterface::ThreadUserInterface(UserInterface* ui) : m_before(threadInterface) {
  threadInterface = ui;
}
ThreadUserInterface::~ThreadUserInterface() { threadInterface = m_before; }

MessageAnswer AfxMessageBox(const CString& text, MessageStyle style) {
  if (UserInterface* ui = currentUserInterface()) return ui->messageBox(text, style);
  return style == MessageStyle::yesNo ? MessageAnswer::no : MessageAnswer::ok;
}

void reportFinding(const Finding& finding) {
  if (UserInterface* ui = currentUserInterface()) ui->report(finding);
}
