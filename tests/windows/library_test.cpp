#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
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
using namespace std::string_view_literals;

HMODULE library() { return GetModuleHandleW(L"MEGReader.dll"); }

TEST(Library, HoldsTheSamplingRateDialog) {
  const HRSRC found = FindResourceExW(library(), MAKEINTRESOURCEW(5), MAKEINTRESOURCEW(17000), 1033);
  ASSERT_NE(found, nullptr);
  // Style (low half first), no extended style, 3 controls, place, size, no menu, no class, caption, font.
  // Then of each control style, place, size, number, class, text, no data, and what fills up its last 4
  // bytes.
  constexpr std::u16string_view kExpected =
      u"\xC0\x80C8\0\0\x3\0\0\x8A\x4A\0\0"
      u"Sampling Rate\0\x8"
      u"MS Sans Serif\0"
      u"\x1\x5001\0\0\x2B\x35\x32\xE\x1\xFFFF\x80"
      u"OK\0\0\0"
      u"\x81\x5081\0\0\x7\x20\x7C\xE\x4268\xFFFF\x81\0\0\0"
      u"\x1\x5002\0\0\xD\xD\x6E\x10\xFFFF\xFFFF\x82"
      u"Sampling Rate\0\0"sv;
  const auto* words = static_cast<const char16_t*>(LockResource(LoadResource(library(), found)));
  EXPECT_TRUE(std::u16string_view(words, kExpected.size()) == kExpected);
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
    EXPECT_TRUE(std::ranges::any_of(known, [&](const std::string& part) {
      return name.find(part) != std::string::npos;
    })) << name;
  for (const char* internal :
       {"CCtf", "LineSource", "TrialStorage", "MemoryRange", "CDlgSampleRateSet", "nlohmann", "St6vector"})
    EXPECT_FALSE(std::ranges::any_of(names, [&](const std::string& name) {
      return name.find(internal) != std::string::npos;
    })) << internal;
  EXPECT_TRUE(CBasicReadUnix2Window::getFileName(L"D:\\run.res4") == L"run") << "and linking found the rest";
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
