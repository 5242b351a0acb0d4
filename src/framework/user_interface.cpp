#include "framework/user_interface.h"

#include <atomic>

#include "framework/default_interface.h"

namespace {

std::atomic<UserInterface*> processInterface{nullptr};
thread_local UserInterface* threadInterface = nullptr;

}  // namespace

ProgressWindow::~ProgressWindow() = default;
UserInterface::~UserInterface() = default;
DialogWindow::~DialogWindow() = default;
DialogOwner::~DialogOwner() = default;
bool UserInterface::modalDialog(const DialogTemplate& /*dialogTemplate*/, DialogOwner& /*owner*/) {
  return false;
}
void UserInterface::report(const Finding& /*finding*/) {}

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
