#include <megreader/framework/cdialog.h>

#include <charconv>
#include <limits>
#include <string>

#include <megreader/framework/encoding.h>
#include <megreader/framework/user_interface.h>

namespace {

/// Ends an exchange; never leaves `UpdateData`.
struct ExchangeFailed {};

/// A number that does not fit becomes the nearest that does, for a range to refuse.
bool parseInteger(const CString& text, int& value) {
  CString trimmed = text;
  const std::string digits = toUtf8(trimmed.Trim());
  const char* first = digits.data();
  const char* last = first + digits.size();
  if (digits.starts_with('+') && !digits.starts_with("+-")) ++first;
  const auto [end, error] = std::from_chars(first, last, value);
  if (error == std::errc::result_out_of_range)
    value = *first == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
  return error != std::errc::invalid_argument && end == last;
}

}  // namespace

void CDataExchange::Fail() { throw ExchangeFailed{}; }

CWnd::~CWnd() = default;

CDialog::CDialog(const DialogTemplate& dialogTemplate, CWnd* /*parent*/) : m_template(dialogTemplate) {}

int CDialog::DoModal() {
  struct Closing {
    DialogWindow*& window;
    ~Closing() { window = nullptr; }
  } const closing{m_window};
  UserInterface* ui = currentUserInterface();
  return ui != nullptr && ui->modalDialog(m_template, *this) ? kOk : kCancel;
}

bool CDialog::UpdateData(bool saveAndValidate) {
  CDataExchange exchange(*this, saveAndValidate);
  try {
    DoDataExchange(&exchange);
    return true;
  } catch (const ExchangeFailed&) {
    return false;
  }
}

CString CDialog::GetDlgItemText(int control) const {
  return m_window != nullptr ? m_window->controlText(control) : CString();
}

void CDialog::SetDlgItemText(int control, const CString& text) {
  if (m_window != nullptr) m_window->setControlText(control, text);
}

void CDialog::DoDataExchange(CDataExchange* /*exchange*/) {}

bool CDialog::OnInitDialog() { return UpdateData(false); }

void CDialog::OnOK() { m_ended = UpdateData(true); }

void CDialog::shown(DialogWindow& window) {
  m_window = &window;
  OnInitDialog();
}

bool CDialog::confirmed(DialogWindow& window) {
  m_window = &window;
  m_ended = false;
  OnOK();
  return m_ended;
}

void DDX_Text(CDataExchange* exchange, int control, int& value) {
  CDialog& dialog = *exchange->m_pDlgWnd;
  if (!exchange->m_bSaveAndValidate) {
    CString text;
    text.Format(L"%d", value);
    dialog.SetDlgItemText(control, text);
  } else if (!parseInteger(dialog.GetDlgItemText(control), value)) {
    AfxMessageBox(L"Enter an integer.");
    exchange->Fail();
  }
}

void DDV_MinMaxInt(CDataExchange* exchange, int value, int low, int high) {
  if (!exchange->m_bSaveAndValidate || (value >= low && value <= high)) return;
  CString text;
  text.Format(L"Enter an integer between %d and %d.", low, high);
  AfxMessageBox(text);
  exchange->Fail();
}

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

void CProgresszk::showProgress(const CString& title) {
  if (UserInterface* ui = currentUserInterface()) m_window = ui->openProgress(title);
}

void CProgresszk::setRange(int low, int high) {
  if (m_window) m_window->setRange(low, high);
}

void CProgresszk::setPosition(int position) {
  if (m_window) m_window->setPosition(position);
}

namespace {

class EditField : public DialogWindow {
 public:
  CString controlText(int /*control*/) const override { return m_text; }
  void setControlText(int /*control*/, const CString& text) override { m_text = text; }

 private:
  CString m_text;
};

}  // namespace

bool runTextDialog(DialogOwner& owner,
                   const std::function<std::optional<CString>(const CString& value)>& enter) {
  EditField field;
  owner.shown(field);
  const CString first = field.controlText(0);
  for (;;) {
    const auto entered = enter(first);
    if (!entered) return false;
    field.setControlText(0, *entered);
    if (owner.confirmed(field)) return true;
  }
}
