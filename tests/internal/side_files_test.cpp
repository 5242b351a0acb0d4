#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

#include "base/scan.h"
#include "ctf/text_lines.h"
#include "internal/probe.h"
#include "support/memory_file.h"
#include "support/unreadable_file.h"

// What all side files share: lines, numbers, and messages where one can't be read.

namespace {

TEST(SideFiles, LinesAndValues) {
  const MemoryFile file("a\r\n\r\n\nb\rc\n\n\r\nd");
  ReadingRules rules = ReadingRules::plain();
  KeptNotices notices;
  ctfmeg::TextLines lines(file, rules, notices);
  std::string line, all;
  const auto add = [&](bool there) { all += there ? line + "|" : "end"; };
  add(lines.next(line));
  add(lines.nextValue(line));
  add(lines.next(line));
  lines.putBack();
  add(lines.nextValue(line));
  add(lines.nextValue(line));
  add(lines.nextValue(line));
  add(lines.next(line));
  add(lines.next(line));
  lines.putBack();
  add(lines.next(line));
  EXPECT_EQ(all, "a||b|b|c||d|endend");
}

TEST(SideFiles, ScanTakesWhatTheFormatSays) {
  std::int32_t i = 0;
  double f = 0.0;
  std::string word;
  const auto scanned = [&](const char* line, const char* format,
                           std::initializer_list<ctfmeg::ScanTarget> targets) {
    return ctfmeg::scan(line, format, targets, ctfmeg::ScanPrecision::full);
  };
  EXPECT_EQ(scanned(" x = -1.5e2z", "%s = %f", {&word, &f}), 2);
  EXPECT_EQ(word, "x");
  EXPECT_EQ(f, -150.0);
  EXPECT_EQ(scanned("x=1", "%s = %f", {&word, &f}), 1) << "the word takes it all";
  EXPECT_EQ(scanned("-12abc", "%d", {&i}), 1);
  EXPECT_EQ(i, -12);
  EXPECT_EQ(scanned("+ 1", "%d", {&i}), 0);
  EXPECT_EQ(scanned("--1", "%f", {&f}), 0);
  EXPECT_EQ(scanned("+-1", "%d", {&i}), 0);
  EXPECT_EQ(scanned("", "%d", {&i}), 0);
  EXPECT_EQ(scanned("-99999999999", "%d", {&i}), 1);
  EXPECT_EQ(i, INT32_MIN);
  EXPECT_EQ(scanned("1e999", "%f", {&f}), 0);
  EXPECT_EQ(ctfmeg::scan("1E39", "%f", {&f}, ctfmeg::ScanPrecision::single), 1);
  EXPECT_TRUE(std::isinf(f)) << "hosts get single precision's";
  for (const std::string& tiny : {std::string("1E-400"), "0." + std::string(400, '0') + "1"}) {
    EXPECT_EQ(scanned(tiny.c_str(), "%f", {&f}), 1);
    EXPECT_EQ(f, 0.0);
  }
  EXPECT_EQ(scanned("inf", "%f", {&f}), 0);
  EXPECT_EQ(scanned("1,5", "%f", {&f}), 1) << "a comma is no decimal point, whatever the locale";
  EXPECT_EQ(f, 1.0);
}

#if defined(TEST_LOCALES) || defined(_WIN32)
TEST(SideFiles, ALocaleOfTheHostChangesNoNumber) {
#ifdef _WIN32
  ASSERT_NE(std::setlocale(LC_ALL, "German_Germany.1252"), nullptr);
#else
  setenv("LOCPATH", TEST_LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
#endif
  char comma[8];
  std::snprintf(comma, sizeof comma, "%.1f", 0.5);
  const std::string infods = Bytes().raw("WS1_").i32(1).raw("x").i32(4).f64(0.5).str();
  Probe reader(ReadingRules::plain());
  const CString base = Probe::getFilePathBasic(reader.writeDataset({}));
  writeFile(reader.directory.path() / "run.ds" / "run.infods", infods);
  writeFile(reader.directory.path() / "run.ds" / "bad.segments", "1 0.5 1,5\n");
  reader.readInfoDsFile(base + L"infods");
  reader.readBadSegments(base);
  std::setlocale(LC_ALL, "C");
  ASSERT_STREQ(comma, "0,5") << "the locale has no comma";
  EXPECT_EQ(toUtf8(reader.info().information.text), "0.500000 \n");
  EXPECT_EQ(reader.data.badSegments().at(0).startMs, 500.0);
  EXPECT_EQ(reader.data.badSegments().at(0).endMs, 1000.0);
}
#endif

using Operation = int (*)(Probe&, const CString&);

/// Every side file: its name, its reader, what is shown when it can't be opened and when it can't be read.
struct Reader {
  const char* file;
  Operation read;
  std::string openError, readError;
};

const Reader kReaders[] = {
    {"run.hc", [](Probe& p, const CString& base) { return p.readHeadCoilsToDataset(base); },
     "Open file Failed", "Read head position error!"},
    {"run.hc", [](Probe& p, const CString& base) { return p.readHeadCoilsToLocalization(base); },
     "Open file Failed", "Read head position error!"},
    {"MarkerFile.mrk", [](Probe& p, const CString& base) { return p.readMarkers(base) - 1; },
     "Can't open file %, error = 5\n", ""},
    {"MarkerFile.mrk.bak", [](Probe& p, const CString& base) { return p.readMarkers(base) - 1; },
     "Can't open file %, error = 5\n", ""},
    {"MarkerFile.mrk", [](Probe& p, const CString& base) { return p.loadMarkerFile(base); },
     "Can't open file %, error = 5\n", ""},
    {"ClassFile.cls", [](Probe& p, const CString& base) { return p.readClassFile(base); }, "Open file Failed",
     "Reading trigger error!"},
    {"run.infods", [](Probe& p, const CString& base) { return p.readInfoDsFile(base + L"infods"); },
     "Open file Failed", "Reading trigger error!"},
    {"run.eeg", [](Probe& p, const CString& base) { return p.readEegFile(base + L"eeg"); },
     "Open file Failed", "Reading EEG file error!"},
    {"run.pos", [](Probe& p, const CString& base) { return p.readPosFile(base + L"pos"); },
     "Open file Failed", "Reading trigger error!"},
    {"VirtualChannels", [](Probe& p, const CString& base) { return p.readVirtualChannels(base); },
     "Open file Failed", "Reading virtual channel error!"},
    {"BadChannels", [](Probe& p, const CString& base) { return p.readBadChannels(base); }, "Open file Failed",
     "Reading trigger error!"},
    {"bad.segments", [](Probe& p, const CString& base) { return p.readBadSegments(base); },
     "Open file Failed", "Reading trigger error!"},
};

TEST(SideFiles, MissingIsSilentAndUnreadableIsTold) {
  for (const Reader& r : kReaders) {
    SCOPED_TRACE(r.file);
    Probe reader(hostBut(&ReadingRules::everyLine));
    const CString base = Probe::getFilePathBasic(reader.writeDataset({}));
    EXPECT_EQ(r.read(reader, base), 0);
    EXPECT_EQ(reader.user.transcript(), Lines{}) << "missing";
    const auto file = reader.directory.path() / "run.ds" / r.file;
    std::filesystem::create_directory(file);
    EXPECT_EQ(r.read(reader, base), 0);
    std::string message = "message: " + r.openError;
    if (const auto place = message.find('%'); place != std::string::npos)
      message.replace(place, 1, toUtf8(toWindowsPath(file.string())));
    EXPECT_EQ(reader.user.transcript(), Lines{message}) << "a directory";
    std::filesystem::remove(file);
    const UnreadableFile unreadable(file);
    if (!unreadable.works()) continue;  // nothing opens here that can't be read
    Probe failing(hostBut(&ReadingRules::everyLine));
    r.read(failing, base);
#ifdef _WIN32
    // Opened for itself alone, which it can't be while somebody holds it.
    const std::string said = r.file == std::string("VirtualChannels") ? r.openError : r.readError;
#else
    const std::string said = r.readError;
#endif
    EXPECT_EQ(failing.user.transcript(), said.empty() ? Lines{} : Lines{"message: " + said})
        << "can't be read";
    EXPECT_FALSE(failing.user.findings().empty());
    for (const Finding& finding : failing.user.findings())
      EXPECT_EQ(finding.severity, Finding::Severity::warning);
  }
}

}  // namespace
