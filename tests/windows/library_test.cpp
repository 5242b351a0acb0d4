#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

#include <ctfmeg/path_text.h>
#include <ctfmeg/recording.h>
#include <megreader/framework/native_path.h>
#include <megreader/reader/basic_read_unix2window.h>
#include <megreader/reader/meg_reader_face.h>
#include "support/command.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

// The library as Windows sees it.

namespace {

namespace fs = std::filesystem;

HMODULE library() { return GetModuleHandleW(L"MEGReader.dll"); }

/// Reads the words of a dialog template one after another.
class TemplateReader {
 public:
  explicit TemplateReader(const void* bytes) : m_next(static_cast<const std::uint16_t*>(bytes)) {}

  int word() { return static_cast<std::int16_t>(*m_next++); }
  unsigned dword() {
    const unsigned low = *m_next++;
    return low | static_cast<unsigned>(*m_next++) << 16;
  }
  std::wstring text() {
    std::wstring all;
    while (const std::uint16_t c = *m_next++)
      all += static_cast<wchar_t>(c);
    return all;
  }
  void alignItem() {
    if (reinterpret_cast<std::uintptr_t>(m_next) % 4 != 0) ++m_next;
  }

 private:
  const std::uint16_t* m_next;
};

TEST(Library, HoldsTheSamplingRateDialog) {
  const HRSRC found = FindResourceExW(library(), MAKEINTRESOURCEW(5), MAKEINTRESOURCEW(17000), 1033);
  ASSERT_NE(found, nullptr);
  TemplateReader dialog(LockResource(LoadResource(library(), found)));
  EXPECT_EQ(dialog.dword(), 0x80C800C0U) << "a classic template, its style";
  EXPECT_EQ(dialog.dword(), 0U);
  const int head[] = {dialog.word(), dialog.word(), dialog.word(), dialog.word(), dialog.word()};
  EXPECT_TRUE(std::ranges::equal(head, std::array{3, 0, 0, 138, 74})) << "controls, place, size";
  EXPECT_EQ(dialog.word(), 0) << "no menu";
  EXPECT_EQ(dialog.word(), 0) << "no class of its own";
  EXPECT_EQ(dialog.text(), L"Sampling Rate");
  EXPECT_EQ(dialog.word(), 8);
  EXPECT_EQ(dialog.text(), L"MS Sans Serif");
  struct Item {
    unsigned style;
    int x, y, width, height, id, windowClass;
    std::wstring text;
  };
  for (const Item& item :
       {Item{0x50010001, 43, 53, 50, 14, 1, 0x80, L"OK"}, Item{0x50810081, 7, 32, 124, 14, 17000, 0x81, L""},
        Item{0x50020001, 13, 13, 110, 16, -1, 0x82, L"Sampling Rate"}}) {
    dialog.alignItem();
    EXPECT_EQ(dialog.dword(), item.style);
    EXPECT_EQ(dialog.dword(), 0U);
    const int place[] = {dialog.word(), dialog.word(), dialog.word(), dialog.word(), dialog.word()};
    EXPECT_TRUE(std::ranges::equal(place, std::array{item.x, item.y, item.width, item.height, item.id}));
    EXPECT_EQ(dialog.word(), -1);
    EXPECT_EQ(dialog.word(), item.windowClass);
    EXPECT_EQ(dialog.text(), item.text);
    EXPECT_EQ(dialog.word(), 0);
  }
}

std::wstring fileVersion(const std::wstring& path) {
  std::vector<char> block(GetFileVersionInfoSizeW(path.c_str(), nullptr));
  void* text = nullptr;
  UINT length = 0;
  if (!GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
      !VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\FileVersion", &text, &length))
    return L"none";
  return static_cast<const wchar_t*>(text);
}

TEST(Library, CarriesItsVersionAsTheCommandDoes) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(library(), path, MAX_PATH);
  EXPECT_EQ(fileVersion(path), L"" CTFMEG_VERSION);
  EXPECT_EQ(fileVersion(std::filesystem::path(CTFMEG_COMMAND).wstring()), L"" CTFMEG_VERSION);
}

/// The names that the library exports.
std::vector<std::string> exportedNames() {
  const auto* base = reinterpret_cast<const char*>(library());
  const auto at = [base](DWORD offset) { return base + offset; };
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* image = reinterpret_cast<const IMAGE_NT_HEADERS*>(at(static_cast<DWORD>(dos->e_lfanew)));
  const DWORD place = image->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(at(place));
  const auto* names = reinterpret_cast<const DWORD*>(at(exports->AddressOfNames));
  std::vector<std::string> all;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i)
    all.emplace_back(at(names[i]));
  return all;
}

TEST(Library, ExportsWhatHostsNeedAndNothingInternal) {
  // Each exported name holds one of these: the classes of the reader, of the data model and of the framework,
  // and the framework's functions.
  std::istringstream list(readFile(EXPORTED_NAMES));
  const std::vector<std::string> known{std::istream_iterator<std::string>(list), {}};
  const auto names = exportedNames();
  EXPECT_GT(names.size(), 100U);
  for (const std::string& name : names)
    EXPECT_TRUE(std::any_of(known.begin(), known.end(), [&](const std::string& part) {
      return name.find(part) != std::string::npos;
    })) << name;
  const auto exported = [&names](const char* part) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return name.find(part) != std::string::npos; });
  };
  for (const char* promised :
       {"16CMEGReaderFacezk14readTrialSplitE", "14CMEGReaderFace18readCTFMEGDataInfoE",
        "23CBasicReadUnix2Windowzk8readANSIE", "21CBasicReadUnix2Window11getFileNameE"})
    EXPECT_TRUE(exported(promised)) << promised;
  for (const char* internal :
       {"CCtf", "LineSource", "TrialStorage", "MemoryRange", "CDlgSampleRateSet", "nlohmann", "St6vector"})
    EXPECT_FALSE(exported(internal)) << internal;
}

TEST(Library, TurnsTheSystemsLongs) {
  const CBasicReadUnix2Windowzk helper;
  long first = 0x01020384;
  EXPECT_EQ(helper.unix2Win4long(first), static_cast<long>(0x84030201));
  EXPECT_EQ(helper.endianTransform(first), 0x01020384);
  EXPECT_EQ(first, 0x01020384);
  unsigned long second = 0x01020384;
  EXPECT_EQ(helper.unix2Win4Ulong(second), 0x84030201U);
  std::int32_t third = 1;
  EXPECT_EQ(helper.unix2Win4long(third), 0x01000000);
}

/// What comes of reading a dataset: its number of trials, or the kind of the error.
std::string outcome(const fs::path& path) {
  try {
    return std::to_string(ctfmeg::Recording::open(path).samples()->shape().trials);
  } catch (const ctfmeg::Error& error) {
    EXPECT_FALSE(error.text().empty());
    return nameOf(error.kind());
  }
}

TEST(Library, ReadsPathsOfEveryForm) {
  const TemporaryDirectory directory;
  const fs::path run = MinimalDataset().write(directory.path()).parent_path();
  EXPECT_TRUE(run.has_root_name()) << "a drive letter";
  EXPECT_EQ(outcome(run), "2");
  EXPECT_EQ(outcome(run.generic_string() + "/run.res4"), "2") << "slashes";
  EXPECT_EQ(outcome(LR"(\\?\)" + run.wstring()), "2") << "with the system's own prefix";
  EXPECT_EQ(outcome(LR"(\\nowhere.invalid\share\run.ds)"), "notFound");
  EXPECT_NE(outcome("NUL.res4"), "2") << "a device";

  const fs::path named =
      directory.path() / L"\u03a9 \u65e5\u672c \U0001F9E0.ds";  // no ANSI code page has all
  fs::rename(run, named);
  EXPECT_EQ(outcome(named), "2");
  EXPECT_EQ(ctfmeg::textOf(named.filename()), "\u03a9 \u65e5\u672c \U0001F9E0.ds");

  fs::path deep = LR"(\\?\)" + directory.path().wstring();
  for (int i = 0; i < 6; ++i) {
    deep /= std::wstring(60, L'd');
    fs::create_directory(deep);
  }
  fs::rename(named, deep / "run.ds");
  const std::wstring longer = (deep / "run.ds").wstring().substr(4);
  EXPECT_GT(longer.size(), 300U);
  EXPECT_EQ(outcome(longer), "2");
  CMEGReaderFacezk facade;
  CMEGDatazk data;
  CString path((longer + LR"(\run.res4)"));
  EXPECT_EQ(facade.readCTFMEGDataInfo(path, &data), 1);
}

TEST(Library, GivesLongPathsTheSystemsPrefix) {
  const std::wstring tail(300, L'x');
  const std::pair<std::wstring, std::wstring> cases[] = {
      {LR"(C:\short\run.res4)", LR"(C:\short\run.res4)"},
      {LR"(C:\a\..\b\)" + tail, LR"(\\?\C:\b\)" + tail},
      {LR"(\\server\share\)" + tail, LR"(\\?\UNC\server\share\)" + tail},
      {LR"(\\?\C:\)" + tail, LR"(\\?\C:\)" + tail},
      {LR"(\\.\)" + tail, LR"(\\.\)" + tail},
  };
  for (const auto& [given, expected] : cases)
    EXPECT_EQ(ctfmeg::reachable(given).native(), expected);
}

TEST(Library, TheCommandRunsWhereverItIsCopiedTo) {
  const TemporaryDirectory directory;
  const auto run = MinimalDataset().write(directory.path()).parent_path();
  const fs::path alone = directory.path() / "alone.exe";
  fs::copy_file(CTFMEG_COMMAND, alone);
  EXPECT_TRUE(runCommand(alone.string(), {"info", run.string()}).out.starts_with("run\n"));
}

}  // namespace
