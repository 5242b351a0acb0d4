#include <megreader/framework/cfiledialog.h>

#include <megreader/framework/user_interface.h>

CFileDialog::CFileDialog(CString filter, int filterIndex)
    : m_filter(std::move(filter)), m_filterIndex(filterIndex) {}

int CFileDialog::DoModal() {
  UserInterface* ui = currentUserInterface();
  if (ui == nullptr) return kCancel;
  const auto chosen = ui->chooseFile(m_filter, m_filterIndex);
  if (!chosen) return kCancel;
  m_path = *chosen;
  return kOk;
}
