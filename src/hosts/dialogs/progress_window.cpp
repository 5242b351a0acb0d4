#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include "hosts/dialogs/dialogs.h"

namespace {

constexpr int kWidth = 360, kHeight = 90, kMargin = 16, kBarHeight = 22;
constexpr const wchar_t* kClass = L"MEGReaderProgress";

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CLOSE) return 0;  // an import has no way to be cancelled
  return DefWindowProcW(window, message, wParam, lParam);
}

void registerClass() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = moduleHandle();
  windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT));
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
  windowClass.lpszClassName = kClass;
  RegisterClassExW(&windowClass);  // fails, without harm, from the second time on
}

class WindowProgress : public ProgressWindow {
 public:
  explicit WindowProgress(const CString& title);
  ~WindowProgress() override;

  void setRange(int low, int high) override;
  void setPosition(int position) override;

 private:
  void paint();

  HWND m_window = nullptr;
  HWND m_bar = nullptr;
  bool m_quit = false;  // the host was asked to end
  int m_exitCode = 0;
};

WindowProgress::WindowProgress(const CString& title) {
  const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&controls);
  registerClass();
  const int x = (GetSystemMetrics(SM_CXSCREEN) - kWidth) / 2;
  const int y = (GetSystemMetrics(SM_CYSCREEN) - kHeight) / 2;
  m_window = CreateWindowExW(WS_EX_DLGMODALFRAME, kClass, title.GetString(), WS_POPUP | WS_CAPTION, x, y,
                             kWidth, kHeight, GetActiveWindow(), nullptr, moduleHandle(), nullptr);
  RECT inside{};
  GetClientRect(m_window, &inside);
  m_bar = CreateWindowExW(0, PROGRESS_CLASSW, nullptr, WS_CHILD | WS_VISIBLE, kMargin, kMargin,
                          inside.right - 2 * kMargin, kBarHeight, m_window, nullptr, moduleHandle(), nullptr);
  ShowWindow(m_window, SW_SHOWNOACTIVATE);
  paint();
}

WindowProgress::~WindowProgress() {
  if (m_window != nullptr) DestroyWindow(m_window);
  if (m_quit) PostQuitMessage(m_exitCode);  // it is the host's
}

void WindowProgress::setRange(int low, int high) {
  SendMessageW(m_bar, PBM_SETRANGE32, static_cast<WPARAM>(low), high);
  paint();
}

void WindowProgress::setPosition(int position) {
  SendMessageW(m_bar, PBM_SETPOS, static_cast<WPARAM>(position), 0);
  paint();
}

void WindowProgress::paint() {
  if (m_window == nullptr) return;  // else every message of the thread would be handled
  MSG message;
  while (PeekMessageW(&message, m_window, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      m_quit = true;
      m_exitCode = static_cast<int>(message.wParam);
      continue;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  UpdateWindow(m_window);
}

}  // namespace

std::unique_ptr<ProgressWindow> openProgressWindow(const CString& title) {
  return std::make_unique<WindowProgress>(title);
}
