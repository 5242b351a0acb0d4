#include <windows.h>
// After windows.h, which it needs.
#include <commdlg.h>

#include <vector>

#include "hosts/dialogs/dialogs.h"

namespace {

/// The host's name: message boxes have no other title.
std::wstring programName() {
  std::vector<wchar_t> path(32768);
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  std::wstring name(path.data(), length);
  name.erase(0, name.find_last_of(L'\\') + 1);
  return name.substr(0, name.find_last_of(L'.'));
}

class WindowDialog : public DialogWindow {
 public:
  WindowDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner)
      : m_template(dialogTemplate), m_owner(owner) {}

  /// IDOK or IDCANCEL; -1 when it can't be shown.
  INT_PTR run() {
    return DialogBoxParamW(moduleHandle(), MAKEINTRESOURCEW(m_template.resource), GetActiveWindow(),
                           procedure, reinterpret_cast<LPARAM>(this));
  }

  CString controlText(int control) const override {
    const HWND window = GetDlgItem(m_window, control);
    std::vector<wchar_t> text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1);
    GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return {text.data()};
  }

  void setControlText(int control, const CString& text) override {
    SetDlgItemTextW(m_window, control, text.GetString());
  }

 private:
  static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrW(window, DWLP_USER, lParam);
      auto* dialog = reinterpret_cast<WindowDialog*>(lParam);
      dialog->m_window = window;
      dialog->m_owner.shown(*dialog);
      return TRUE;
    }
    auto* dialog = reinterpret_cast<WindowDialog*>(GetWindowLongPtrW(window, DWLP_USER));
    if (message != WM_COMMAND || dialog == nullptr) return FALSE;
    if (LOWORD(wParam) == IDCANCEL) EndDialog(window, IDCANCEL);
    if (LOWORD(wParam) == IDOK) dialog->confirm();
    return LOWORD(wParam) == IDCANCEL || LOWORD(wParam) == IDOK;
  }

  /// A refused text is selected, to be typed over.
  void confirm() {
    if (m_owner.confirmed(*this)) {
      EndDialog(m_window, IDOK);
      return;
    }
    const HWND edit = GetDlgItem(m_window, m_template.edit);
    SendMessageW(m_window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(edit), TRUE);
    SendMessageW(edit, EM_SETSEL, 0, -1);
  }

  const DialogTemplate& m_template;
  DialogOwner& m_owner;
  HWND m_window = nullptr;
};

/// Windows are owned by the one that the user works in.
class WindowInterface : public UserInterface {
 public:
  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  std::optional<CString> chooseFile(const CString& filter, int filterIndex) override;
  /// From the dialog resource in this library or program.
  bool modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) override;
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override {
    return openProgressWindow(title);
  }
};

MessageAnswer WindowInterface::messageBox(const CString& text, MessageStyle style) {
  // Of the styles only the buttons: hosts know these boxes without an icon.
  const HWND owner = GetActiveWindow();
  const UINT modal = owner == nullptr ? MB_TASKMODAL : 0;
  const int answer =
      MessageBoxW(owner, text.GetString(), programName().c_str(), static_cast<UINT>(style) | modal);
  if (answer != 0) return static_cast<MessageAnswer>(answer);
  reportUnshown(L"the message can't be shown");
  return style == MessageStyle::yesNo ? MessageAnswer::no : MessageAnswer::ok;
}

std::optional<CString> WindowInterface::chooseFile(const CString& filter, int filterIndex) {
  constexpr std::size_t kLongestPath = 32768;
  std::wstring pairs = filter.str() + L'|';  // the list ends by two, whatever the filter ends by
  for (wchar_t& c : pairs)
    if (c == L'|') c = L'\0';
  std::vector<wchar_t> path(kLongestPath);
  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = GetActiveWindow();
  dialog.lpstrFilter = pairs.c_str();
  dialog.nFilterIndex = static_cast<DWORD>(filterIndex);
  dialog.lpstrFile = path.data();
  dialog.nMaxFile = static_cast<DWORD>(path.size());
  dialog.Flags = OFN_FILEMUSTEXIST | OFN_EXPLORER | OFN_ENABLESIZING;
  if (GetOpenFileNameW(&dialog)) return CString(path.data());
  if (CommDlgExtendedError() != 0) reportUnshown(L"the file dialog can't be shown");
  return std::nullopt;
}

bool WindowInterface::modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) {
  const INT_PTR result = WindowDialog(dialogTemplate, owner).run();
  if (result == -1) reportUnshown(L"the dialog can't be shown");
  return result == IDOK;
}

}  // namespace

HINSTANCE moduleHandle() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&moduleHandle), &module);
  return module;
}

UserInterface* defaultUserInterface() {
  static WindowInterface windows;
  return &windows;
}
