#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>
#include <megreader/framework/user_interface.h>

class CDialog;

/// Whether controls get values (false) or give them (true) while a dialog exchanges its data.
class MEGREADER_API CDataExchange {
 public:
  CDataExchange(CDialog& dialog, bool saveAndValidate)
      : m_pDlgWnd(&dialog), m_bSaveAndValidate(saveAndValidate) {}

  /// A value was refused, and a message shown: ends the exchange.
  [[noreturn]] void Fail();

  CDialog* m_pDlgWnd;
  bool m_bSaveAndValidate;
};

/// A window; only dialogs and what may own them are known here.
class MEGREADER_API CWnd {
 public:
  CWnd() = default;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  virtual ~CWnd();
};

/// A modal dialog, shown through the current user interface. Without one it is cancelled.
class MEGREADER_API CDialog : public CWnd, private DialogOwner {
 public:
  static constexpr int kOk = 1;      ///< result of `DoModal` when OK was pressed and accepted
  static constexpr int kCancel = 2;  ///< and when the dialog was closed

  /// `dialogTemplate` must outlive the dialog. The parent (may be null) has no meaning here: a modal dialog
  /// belongs to the window that the user works in.
  explicit CDialog(const DialogTemplate& dialogTemplate, CWnd* parent = nullptr);

  int DoModal();

  /// Exchanges the data of the dialog and its controls; false when a value was refused.
  bool UpdateData(bool saveAndValidate = true);

  /// The control's text; only while the dialog is shown.
  CString GetDlgItemText(int control) const;
  void SetDlgItemText(int control, const CString& text);

 protected:
  virtual void DoDataExchange(CDataExchange* exchange);
  /// Before the user sees the dialog: shows its data. Returns true.
  virtual bool OnInitDialog();
  /// OK was pressed: takes the data over and closes the dialog, unless a value is refused.
  virtual void OnOK();

 private:
  void shown(DialogWindow& window) override;
  bool confirmed(DialogWindow& window) override;

  const DialogTemplate& m_template;
  DialogWindow* m_window = nullptr;
  bool m_ended = false;
};

/// Between a control and an integer. A text that is none shows "Enter an integer." and fails; a number that
/// no int holds is taken as the nearest int, so that `DDV_MinMaxInt` refuses it with the range.
MEGREADER_API void DDX_Text(CDataExchange* exchange, int control, int& value);

/// Outside `low` to `high` a value that is taken over shows "Enter an integer between LOW and HIGH." and
/// fails.
MEGREADER_API void DDV_MinMaxInt(CDataExchange* exchange, int value, int low, int high);

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

/// A modal dialog for interfaces without windows: `enter(value)` is called with what the edit field shows at
/// first, and returns what the user makes of it and confirms, or nothing when the user cancels. It is called
/// again as long as that is refused. True when it was accepted.
MEGREADER_API bool runTextDialog(DialogOwner& owner,
                                 const std::function<std::optional<CString>(const CString& value)>& enter);
