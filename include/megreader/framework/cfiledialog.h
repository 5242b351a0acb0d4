#pragma once

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// The file-open dialog, shown through the current user interface. Without one it is cancelled.
class MEGREADER_API CFileDialog {
 public:
  static constexpr int kOk = 1;      ///< result of `DoModal` when a file was chosen
  static constexpr int kCancel = 2;  ///< and when not

  /// `filter` is a list of pairs "what is shown|patterns|", ended by another "|". `filterIndex` counts
  /// from 1.
  explicit CFileDialog(CString filter, int filterIndex = 1);

  int DoModal();

  /// The chosen file's whole path, as this system writes it.
  const CString& GetPathName() const { return m_path; }

 private:
  CString m_filter;
  int m_filterIndex;
  CString m_path;
};
