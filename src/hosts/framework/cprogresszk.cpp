#include <megreader/framework/cprogresszk.h>

void CProgresszk::showProgress(const CString& title) {
  if (UserInterface* ui = currentUserInterface()) m_window = ui->openProgress(title);
}

void CProgresszk::setRange(int low, int high) {
  if (m_window) m_window->setRange(low, high);
}

void CProgresszk::setPosition(int position) {
  if (m_window) m_window->setPosition(position);
}
