#pragma once

#include <memory>

#include <megreader/framework/user_interface.h>

/// The modeless progress window of an import, shown through the current user interface. Without one, or with
/// one that shows no progress, every operation does nothing. Destroying it closes the window.
class MEGREADER_API CProgresszk {
 public:
  void showProgress(const CString& title);
  void setRange(int low, int high);
  void setPosition(int position);

 private:
  std::unique_ptr<ProgressWindow> m_window;
};
