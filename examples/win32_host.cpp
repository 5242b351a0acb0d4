// A Windows host in small: "File > Open" reads a dataset through the library, which shows its own dialogs,
// questions and progress, and the window lists its trials and channels.

#include <windows.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include <megreader/framework/user_interface.h>
#include <megreader/reader/meg_reader_face.h>

namespace {

constexpr int kOpen = 1, kExit = 2, kList = 3;

/// What a host holds: the facade, and the data objects that it fills.
struct Host {
  CMEGReaderFacezk facade;
  CPtrArray array;
  std::vector<std::unique_ptr<CMEGDatazk>> datasets;
  HWND list = nullptr;

  /// Errors must not travel through a window procedure.
  void open() {
    try {
      read();
    } catch (CException* error) {  // sample files that can't be read, or end before the run does
      error->Delete();
      AfxMessageBox(L"The samples of this dataset can't be read.");
    } catch (const std::bad_alloc&) {
      AfxMessageBox(L"There is not enough memory for this dataset.");
    }
    collect();
  }

  void read() {
    const int before = array.GetSize();
    const int done = facade.openReadCTFMEGData2HdPa(&array, nullptr, nullptr);
    collect();
    if (done && array.GetSize() > before) show(*datasets.back());
  }

  /// The host owns what the facade appended.
  void collect() {
    for (int i = static_cast<int>(datasets.size()); i < array.GetSize(); ++i)
      datasets.emplace_back(static_cast<CMEGDatazk*>(array.GetAt(i)));
  }

  void show(const CMEGDatazk& data) {
    const CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
    CString line;
    SendMessageW(list, LB_RESETCONTENT, 0, 0);
    line.Format(L"%s: %d trials of %d samples", data.name, data.numStoredTrials(), info.samplesPerTrial);
    add(line);
    for (int trial = 0; trial < data.trialSlots(); ++trial) {
      const std::int32_t* samples = data.trialSamples(trial);
      if (samples == nullptr) continue;
      line.Format(L"trial %d: the first sample is %d", trial, samples[0]);
      add(line);
    }
    for (const ChannelInfo& channel : data.channels()) {
      line.Format(L"channel %s%s", channel.name, channel.good ? L"" : L" (bad)");
      add(line);
    }
  }

  void add(const CString& line) {
    SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line.GetString()));
  }
};

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  static Host host;
  switch (message) {
    case WM_CREATE:
      host.list =
          CreateWindowExW(WS_EX_CLIENTEDGE, L"LISTBOX", nullptr, WS_CHILD | WS_VISIBLE | WS_VSCROLL, 0, 0, 0,
                          0, window, reinterpret_cast<HMENU>(INT_PTR{kList}), nullptr, nullptr);
      return 0;
    case WM_SIZE:
      MoveWindow(host.list, 0, 0, LOWORD(lParam), HIWORD(lParam), TRUE);
      return 0;
    case WM_COMMAND:
      if (LOWORD(wParam) == kOpen) host.open();
      if (LOWORD(wParam) == kExit) DestroyWindow(window);
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

HMENU makeMenu() {
  const HMENU file = CreatePopupMenu(), menu = CreateMenu();
  AppendMenuW(file, MF_STRING, kOpen, L"&Open...");
  AppendMenuW(file, MF_STRING, kExit, L"E&xit");
  AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(file), L"&File");
  return menu;
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE /*previous*/, LPSTR /*arguments*/, int show) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = instance;
  windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  windowClass.lpszClassName = L"MEGReaderHost";
  RegisterClassW(&windowClass);
  const HWND window =
      CreateWindowExW(0, L"MEGReaderHost", L"MEG datasets", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                      560, 360, nullptr, makeMenu(), instance, nullptr);
  ShowWindow(window, show);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return 0;
}
