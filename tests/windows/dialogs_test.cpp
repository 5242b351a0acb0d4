#include <gtest/gtest.h>
#include <process.h>

#include <megreader/framework/native_path.h>
#include <megreader/reader/meg_reader_face.h>
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"
#include "windows/hands.h"

// Real windows, opened by the library because no other interface is installed, and a user who works in them.

namespace {

constexpr const wchar_t* kDialogClass = L"#32770";
constexpr int kSamplingRateField = 17000;

struct Host {
  ~Host() {
    for (int i = 0; i < array.GetSize(); ++i)
      delete static_cast<CMEGDatazk*>(array.GetAt(i));
  }
  /// A recording of 100 trials with one channel of `samples` each; its samples are a hole.
  CString writeLarge(int samples) {
    MinimalDataset dataset;
    dataset.resize(1, 1, 3);
    dataset.res4.put(1288, Bytes().i32(samples));
    dataset.res4.put(1312, Bytes().i16(100));
    const auto path = dataset.write(directory.path());
    std::filesystem::resize_file(path.parent_path() / "run.meg4",
                                 8 + 400ULL * static_cast<unsigned>(samples));
    return toWindowsPath(path.string());
  }
  CMEGDatazk& first() { return *static_cast<CMEGDatazk*>(array.GetAt(0)); }

  TemporaryDirectory directory;
  CPtrArray array;
  CMEGReaderFacezk facade;
};

std::wstring answered(int button, int& result) {
  std::wstring question;
  const Hands hands([&] {
    const HWND box = Hands::awaitMessageBox();
    question = Hands::messageOf(box);
    Hands::press(box, button);
  });
  result = CMEGReaderFace().checkCtfFileFormat(L"run.dat");
  return question;
}

TEST(Dialogs, TheFileTypeQuestion) {
  int yes = 0, no = 0;
  const std::wstring text = L"The file does not like CTF format! Would you like to continue?";
  EXPECT_EQ(answered(IDYES, yes), text);
  EXPECT_EQ(answered(IDNO, no), text);
  EXPECT_EQ(yes, 1);
  EXPECT_EQ(no, 0);
}

TEST(Dialogs, ChoosingAFile) {
  constexpr int kFileName = 0x47C,
                kFileType = 0x470;  // the numbers that all file dialogs give these controls
  Host host;
  {
    const Hands hands([] { Hands::press(Hands::await(kDialogClass, L"Open"), IDCANCEL); });
    EXPECT_EQ(host.facade.readResampling(&host.array, 2, nullptr), 0);
  }
  EXPECT_EQ(host.array.GetSize(), 0);
  const auto path = MinimalDataset().write(host.directory.path());
  std::wstring type;
  {
    const Hands hands([&] {
      const HWND dialog = Hands::await(kDialogClass, L"Open");
      type = Hands::textOf(GetDlgItem(dialog, kFileType));
      Hands::type(dialog, kFileName, path.wstring());
      Hands::press(dialog, IDOK);
    });
    EXPECT_EQ(host.facade.readResampling(&host.array, 2, nullptr), 1);
  }
  EXPECT_EQ(type, L"MEG Files(*.meg;*.meg4;*.res4;*.eeg;*.infods)");
  ASSERT_EQ(host.array.GetSize(), 1);
  EXPECT_EQ(host.first().storedSamples(), 1);
}

/// What a user does who is asked about 404 MB: answers, then `inDialog` when that was Yes. Samples of each
/// trial that are stored.
std::int64_t resampled(int answer, const std::function<void(HWND)>& inDialog) {
  Host host;
  const CString path = host.writeLarge(1010000);
  {
    const Hands hands([&] {
      const HWND question = Hands::awaitMessageBox();
      EXPECT_EQ(Hands::messageOf(question), L"This data is 404 MB, would you like to re-sample it?");
      Hands::press(question, answer);
      if (answer != IDYES) return;
      const HWND dialog = Hands::await(kDialogClass, L"Sampling Rate");
      inDialog(dialog);
      Hands::awaitGone(dialog);
    });
    EXPECT_EQ(host.facade.readWithResamplePrompt(path, &host.array, nullptr), 1);
  }
  return host.first().storedSamples();
}

TEST(Dialogs, TheSamplingRate) {
  EXPECT_EQ(resampled(IDNO, {}), 1010000);
  EXPECT_EQ(resampled(IDYES, [](HWND dialog) { Hands::press(dialog, IDCANCEL); }), 505000)
      << "Escape means 2";
  EXPECT_EQ(resampled(IDYES,
                      [](HWND dialog) {
                        EXPECT_EQ(Hands::textOf(GetDlgItem(dialog, kSamplingRateField)), L"2");
                        Hands::type(dialog, kSamplingRateField, L"31");
                        Hands::press(dialog, IDOK);
                        for (int told = 0; told < 2; ++told) {
                          const HWND box = Hands::awaitMessageBox();
                          EXPECT_EQ(Hands::messageOf(box), L"Enter an integer between 1 and 30.");
                          Hands::press(box, IDOK);
                          Hands::awaitGone(box);
                        }
                        EXPECT_TRUE(IsWindow(dialog)) << "it stays open";
                        Hands::type(dialog, kSamplingRateField, L"5");
                        Hands::press(dialog, IDOK);
                      }),
            202000);
}

TEST(Dialogs, ProgressOfAnImport) {
  Host host;
  const CString path = host.writeLarge(1000000);
  int range = 0, positions = 0;
  {
    const Hands hands([&] {
      const HWND window = Hands::await(L"MEGReaderProgress", L"Importing CTF MEG data T...");
      const HWND bar = GetWindow(window, GW_CHILD);
      range = static_cast<int>(SendMessageW(bar, PBM_GETRANGE, FALSE, 0));
      for (int last = -1; IsWindow(window); Sleep(1)) {
        const int position = static_cast<int>(SendMessageW(bar, PBM_GETPOS, 0, 0));
        positions += position > last ? 1 : 0;
        last = position;
      }
    });
    EXPECT_EQ(host.facade.readCTFMEGData2HdPa(path, &host.array, nullptr, nullptr), 1);
  }
  EXPECT_EQ(range, 100);
  EXPECT_GT(positions, 3) << "it moved, and answered while the import went on";
}

TEST(Dialogs, TheExampleHostListsADataset) {
  constexpr int kOpen = 1, kExit = 2, kList = 3, kFileName = 0x47C;
  const TemporaryDirectory directory;
  MinimalDataset dataset;
  const auto path = dataset.write(directory.path());
  writeFile(path.parent_path() / "BadChannels", "STIM\n");
  const std::wstring program = (Hands::programFolder() / "win32_host.exe").wstring();
  const std::intptr_t process = _wspawnl(_P_NOWAIT, program.c_str(), program.c_str(), nullptr);
  ASSERT_NE(process, -1);
  const HWND window = Hands::await(L"MEGReaderHost", L"MEG datasets");
  Hands::press(window, kOpen);
  const HWND dialog = Hands::await(kDialogClass, L"Open");
  Hands::type(dialog, kFileName, path.wstring());
  Hands::press(dialog, IDOK);
  Hands::awaitGone(dialog);
  const HWND list = GetDlgItem(window, kList);
  std::vector<std::wstring> lines;
  for (int wait = 0; wait < 1000 && SendMessageW(list, LB_GETCOUNT, 0, 0) < 5; ++wait)
    Sleep(5);
  for (int i = 0; i < SendMessageW(list, LB_GETCOUNT, 0, 0); ++i) {
    wchar_t text[256] = {};
    SendMessageW(list, LB_GETTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
    lines.emplace_back(text);
  }
  EXPECT_EQ(lines, (std::vector<std::wstring>{
                       L"run: 2 trials of 3 samples", L"trial 0: the first sample is 0",
                       L"trial 1: the first sample is 1000", L"channel MLC11-2805", L"channel STIM (bad)"}));
  Hands::press(window, kExit);
  int exitCode = 1;
  _cwait(&exitCode, process, 0);
  EXPECT_EQ(exitCode, 0);
}

}  // namespace
