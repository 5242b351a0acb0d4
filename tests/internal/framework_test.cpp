#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <megreader/framework/cdialog.h>
#include <megreader/framework/cfile.h>
#include <megreader/framework/collections.h>
#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>
#include "support/scripted.h"
#include "support/temporary_directory.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

template <class... Arguments>
std::string formatted(const wchar_t* format, const Arguments&... arguments) {
  CString text(L"before");
  text.Format(format, arguments...);
  return toUtf8(text);
}

/// Whether `operation` throws an exception of the framework, as a pointer.
template <class Exception, class Operation>
bool throws(Operation operation) {
  try {
    operation();
  } catch (Exception* error) {
    error->Delete();
    return true;
  }
  return false;
}

TEST(CString, CutsSearchesAndTrims) {
  const CString text(L"abcd");
  for (const int count : {INT_MIN, 0})
    EXPECT_TRUE(text.Left(count).IsEmpty() && text.Right(count).IsEmpty() && text.Mid(1, count).IsEmpty());
  for (const int count : {4, INT_MAX})
    EXPECT_TRUE(text.Left(count) == text && text.Right(count) == text && text.Mid(count).IsEmpty());
  EXPECT_TRUE(text.Left(2) == L"ab" && text.Right(2) == L"cd" && text.Mid(1, 2) == L"bc");
  EXPECT_TRUE(text.Mid(3, INT_MAX) == L"d" && text.Mid(INT_MIN, 1) == L"a");
  EXPECT_TRUE(text[0] == L'a' && text[4] == L'\0');
  for (const int outside : {-1, 5})
    EXPECT_TRUE(throws<CInvalidArgException>([&] { static_cast<void>(text[outside]); })) << outside;
  for (const int length : {2, 1, 0, -1}) {
    CString cut(L"a");
    cut.Truncate(length);
    EXPECT_EQ(cut.GetLength(), length == 0 ? 0 : 1);
  }
  EXPECT_EQ(CString(L"a.b.c").ReverseFind(L'.'), 3);
  EXPECT_EQ(CString(L"a.b.c").ReverseFind(L'x'), -1);
  EXPECT_TRUE(CString(L"RUN.MEGZ\u00C4").MakeLower() == L"run.megz\u00C4");
  EXPECT_TRUE(CString(L" \t\r\n\v\fa b\u00A0\r\n").Trim() == L"a b\u00A0");
  EXPECT_TRUE(CString(L" \r\n").Trim().IsEmpty());
  CString replaced(L"xayaz");
  EXPECT_EQ(replaced.Replace(L"a", L"aa"), 2);
  EXPECT_TRUE(replaced == L"xaayaaz");
}

TEST(CString, IsATextAndNoPointer) {
  const CString text(L"b"), same(L"b");
  EXPECT_TRUE(text == same && L"b" == text && text != L"a");
  EXPECT_TRUE(CString(L"a") < text && text < L"c" && L"a" < text && text > CString());
  EXPECT_TRUE(text + L"c" == L"bc" && L"a" + text == L"ab" && text + L'c' == L"bc" && text + same == L"bb");
}

TEST(CString, NullIsAnEmptyText) {
  const wchar_t* null = nullptr;
  CString text(null);
  EXPECT_TRUE(text.IsEmpty() && text == null);
  text = CString(L"a") + null;
  EXPECT_TRUE(text == L"a" && text != null && text > null);
  EXPECT_EQ(text.Find(null), -1);
  EXPECT_EQ(text.Replace(null, L"b"), 0);
  EXPECT_EQ(text.Replace(L"a", null), 1);
  EXPECT_EQ(formatted(L"<%s>", null), "<>");
  EXPECT_EQ(formatted(null), "");
}

TEST(CString, Formats) {
  EXPECT_EQ(formatted(L"%s, %d and %u: 100%%", CString(L"\u00E4"), INT64_MIN, UINT64_MAX),
            "ä, -9223372036854775808 and 18446744073709551615: 100%");
  EXPECT_EQ(formatted(L"%s|%s", L"%d", L"%s"), "%d|%s");  // texts from files are no formats
  EXPECT_EQ(formatted(L"<%d|%s|%u|%d>%d 50%", 7U, 7, L"x", 8), "<|||8> 50%");
  CString text(L"x");
  text.Format(L"%s%s", text, text);
  EXPECT_TRUE(text == L"xx");
}

TEST(Encoding, Utf8BytesThatAreInvalidTravelAsRawBytes) {
  struct Case {
    std::string bytes;
    std::wstring text;
  };
  const std::vector<Case> cases{
      {"a\xC3\xA4", L"a\u00E4"},
      {"\xEF\xBF\xBF", {0xFFFF}},
      {"\xF0\x9F\x98\x80", L"\U0001F600"},
      {"\xC3", {0xDCC3}},
      {"\xE2\x82z", {0xDCE2, 0xDC82, L'z'}},
      {"\xC0\xAF", {0xDCC0, 0xDCAF}},                          // overlong
      {"\xE0\x80\xAF", {0xDCE0, 0xDC80, 0xDCAF}},              // overlong
      {"\xED\xA0\x80", {0xDCED, 0xDCA0, 0xDC80}},              // U+D800
      {"\xED\xB2\x80", {0xDCED, 0xDCB2, 0xDC80}},              // U+DC80 itself
      {"\xF4\x90\x80\x80", {0xDCF4, 0xDC90, 0xDC80, 0xDC80}},  // beyond U+10FFFF
  };
  for (const Case& c : cases) {
    EXPECT_EQ(fromUtf8(c.bytes).str(), c.text);
    EXPECT_EQ(toUtf8(fromUtf8(c.bytes)), c.bytes);
  }
  EXPECT_EQ(toUtf8(CString(std::wstring{0xD83D, 0xDE00})), "\xF0\x9F\x98\x80");
  EXPECT_EQ(toUtf8(CString(std::wstring{0xD83D, L'a', 0xDC41, 0xDD00})), "\uFFFDa\uFFFD\uFFFD");
}

TEST(Encoding, Windows1252KeepsTheNumbersItLeavesOpen) {
  EXPECT_EQ(fromWindows1252("a\x80\x81\x8D\x8F\x90\x9D\x9F\xA0\xFF").str(),
            (std::wstring{L'a', 0x20AC, 0x81, 0x8D, 0x8F, 0x90, 0x9D, 0x178, 0xA0, 0xFF}));
}

TEST(CFile, SaysWhyAFileIsRefused) {
  const TemporaryDirectory directory;
  const std::string plain = (directory.path() / "plain").string();
  writeFile(plain, "x");
  std::vector<std::pair<std::string, int>> cases{{plain + "-not", CFileException::fileNotFound},
                                                 {plain + "/below", CFileException::badPath},
                                                 {directory.path().string(), CFileException::accessDenied}};
#ifndef _WIN32
  cases.emplace_back((directory.path() / "fifo").string(), CFileException::genericException);
  ASSERT_EQ(mkfifo(cases.back().first.c_str(), 0600), 0);  // opening it would wait for somebody who writes
#endif
  for (const auto& [path, cause] : cases) {
    CFile file;
    CFileException error;
    EXPECT_TRUE(file.Open(toWindowsPath(plain), CFile::modeRead));
    EXPECT_FALSE(file.Open(toWindowsPath(path), CFile::modeRead, &error)) << path;
    EXPECT_EQ(error.m_cause, cause) << path;
    EXPECT_EQ(toNativePath(error.m_strFileName), path);
    EXPECT_TRUE(throws<CFileException>([&] { file.GetLength(); })) << "the file before is closed";
  }
}

TEST(CFile, RefusesWhatCannotBe) {
  const TemporaryDirectory directory;
#ifdef _WIN32
  const auto path = directory.path() / L"M\u00FCller \u00C4nne";
#else
  const auto path = directory.path() / "raw \xFF\xC3\xED\xB2\x80";  // names may be any bytes
#endif
  writeFile(path, "0123456789");
  CFile file;
  char byte = 0;
  EXPECT_TRUE(throws<CFileException>([&] { file.Read(&byte, 1); }));
  EXPECT_TRUE(throws<CFileException>([&] { file.Seek(0, CFile::begin); }));

  ASSERT_TRUE(file.Open(toWindowsPath(path.string()), CFile::modeRead));
  EXPECT_EQ(toNativePath(file.GetFilePath()), path.string());
  EXPECT_EQ(file.Seek(-3, CFile::end), 7U);
  EXPECT_TRUE(throws<CFileException>([&] { file.Seek(-8, CFile::current); }));
  EXPECT_EQ(file.Read(&byte, 1), 1U);
  EXPECT_EQ(byte, '7') << "a refused seek leaves the position alone";
  file.Seek(5, CFile::end);
  EXPECT_EQ(file.Read(&byte, 1), 0U);
}

TEST(CArchive, FileRunsAheadInBlocks) {
  const TemporaryDirectory directory;
  const std::string path = (directory.path() / "text").string();
  std::string bytes;
  for (int i = 0; i < 10000; ++i)
    bytes += static_cast<char>(i % 251);
  writeFile(path, bytes);
  const std::array<std::size_t, 3> cases[]{{0, 0, 0},         {0, 4096, 4096}, {0, 4097, 8192},
                                           {0, 10000, 10000}, {100, 1, 4196},  {9999, 1, 10000}};
  for (const auto& [start, count, position] : cases) {
    CFile file;
    ASSERT_TRUE(file.Open(toWindowsPath(path), CFile::modeRead));
    file.Seek(static_cast<std::int64_t>(start), CFile::begin);
    CArchive archive(&file);
    std::string read(count, '\0');
    const std::size_t first = archive.Read(read.data(), count / 3);
    EXPECT_EQ(first + archive.Read(read.data() + first, count - first), count);
    EXPECT_TRUE(read == bytes.substr(start, count)) << count;
    EXPECT_EQ(file.GetPosition(), position) << count;
    archive.Close();
    EXPECT_EQ(file.GetPosition(), start + count);
  }
}

TEST(Exceptions, AnArchivesOwnIsCaughtAsAnyOther) {
  try {
    AfxThrowArchiveException(CArchiveException::endOfFile, L"D:\\run.mrk");
  } catch (CFileException* error) {
    error->Delete();
    FAIL() << "it is about no file";
  } catch (CException* error) {
    const auto* archive = dynamic_cast<CArchiveException*>(error);
    ASSERT_NE(archive, nullptr);
    EXPECT_EQ(archive->m_cause, 3);
    EXPECT_TRUE(archive->m_strFileName == L"D:\\run.mrk");
    error->Delete();
  }
}

TEST(Arrays, GrowAndRefuseIndicesOutside) {
  CPtrArray array;
  int item = 0;
  EXPECT_EQ(array.Add(nullptr), 0);
  EXPECT_EQ(array.Add(&item), 1);
  array.SetAtGrow(3, &item);
  array[0] = array[1];
  EXPECT_EQ(array.GetAt(0), &item);
  EXPECT_EQ(array.GetAt(2), nullptr);
  for (const int index : {INT_MIN, -1, 4, INT_MAX}) {
    EXPECT_TRUE(throws<CInvalidArgException>([&] { array.GetAt(index); })) << index;
    EXPECT_TRUE(throws<CInvalidArgException>([&] { array[index] = nullptr; })) << index;
  }
  for (const auto& range : {std::pair{-1, 1}, {0, -1}, {0, 5}, {5, 0}, {2, INT_MAX}, {INT_MAX, INT_MAX}})
    EXPECT_TRUE(throws<CInvalidArgException>([&] { array.RemoveAt(range.first, range.second); }))
        << range.first << ' ' << range.second;
  EXPECT_TRUE(throws<CInvalidArgException>([&] { array.SetAtGrow(-1, &item); }));
  EXPECT_TRUE(throws<CInvalidArgException>([&] { array.SetSize(-1); }));
  array.RemoveAt(0, 3);
  EXPECT_EQ(array.GetCount(), 1);
  EXPECT_EQ(array.GetAt(0), &item);
  array.RemoveAll();
  EXPECT_EQ(array.GetCount(), 0);
}

TEST(UserInterface, TheThreadsOwnComesFirst) {
#ifndef _WIN32  // there are real windows else
  EXPECT_EQ(currentUserInterface(), nullptr);
  EXPECT_EQ(AfxMessageBox(L"?", MessageStyle::yesNo), MessageAnswer::no);
  EXPECT_EQ(AfxMessageBox(L"!"), MessageAnswer::ok);
#endif
  ScriptedInterface process, outer, inner;
  process.follow({MessageAnswer::yes}, {}, {});
  installUserInterface(&process);
  EXPECT_EQ(AfxMessageBox(L"to the process", MessageStyle::yesNo), MessageAnswer::yes);
  {
    const ThreadUserInterface first(&outer);
    {
      const ThreadUserInterface second(&inner);
      AfxMessageBox(L"to the inner");
    }
    AfxMessageBox(L"to the outer");
  }
  reportFinding({.code = "x", .file = {}, .text = {}});
  installUserInterface(nullptr);
  EXPECT_EQ(process.transcript(), std::vector<std::string>{"question: to the process -> yes"});
  EXPECT_EQ(outer.transcript(), std::vector<std::string>{"message: to the outer"});
  EXPECT_EQ(inner.transcript(), std::vector<std::string>{"message: to the inner"});
  EXPECT_EQ(process.findings().size(), 1U);
}

/// Shows messages; of the rest it has what every user interface has.
struct MessagesOnly : ScriptedInterface {
  std::optional<CString> chooseFile(const CString& filter, int index) override {
    return UserInterface::chooseFile(filter, index);
  }
  bool modalDialog(const DialogTemplate& dialog, DialogOwner& owner) override {
    return UserInterface::modalDialog(dialog, owner);
  }
};

TEST(UserInterface, ReportsTheDialogsThatItCannotShow) {
  MessagesOnly user;
  const ThreadUserInterface installed(&user);
  EXPECT_EQ(CFileDialog(L"All Files(*.*)|*.*||").DoModal(), CFileDialog::kCancel);
  constexpr DialogTemplate kTemplate{1, L"caption", L"label", 1};
  EXPECT_EQ(CDialog(kTemplate).DoModal(), CDialog::kCancel);
  ASSERT_EQ(user.findings().size(), 2U);
  EXPECT_EQ(user.findings()[1].code, "dialog.unshown");
  EXPECT_EQ(toUtf8(user.findings()[1].text), "the dialog can't be shown");
}

}  // namespace
