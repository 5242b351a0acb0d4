#include <gtest/gtest.h>

#include <cmath>
#include <span>

#include "internal/probe.h"
#include "sidefiles/bad_segments.h"
#include "util/line_source.h"
#include "util/scan.h"

namespace {

/// A reader of a dataset that has one more file.
struct WithFile : Probe {
  WithFile(const char* name, const std::string& content, const ReadingRules& rules) : Probe(rules) {
    path = writeDataset({});
    writeFile(directory.path() / "run.ds" / name, content);
    readRes4(getFilePathBasic(path));
    CPtrArray electrodes;
    data.importTrialChannels(1, 2, &m_sensors, &electrodes, &m_channelNames, &m_channelShortNames, nullptr);
  }
  std::string bad() const {
    std::string names;
    for (const CString& name : data.badChannelNames())
      names += toUtf8(name) + "|";
    return names;
  }
  std::string segments() const {
    std::string text;
    for (const BadSegment& s : data.badSegments())
      text += std::to_string(s.trial) + ":" + std::to_string(s.startMs) + "-" + std::to_string(s.endMs) + "|";
    return text;
  }
  CString path;
};

struct LineCase {
  const char* what;
  std::string content;
  int host;
  std::string hostRead;
  int plain;
  std::string plainRead;
};

void expectByRule(const char* file, std::span<const LineCase> cases, int (Probe::*read)(const CString&),
                  std::string (WithFile::*result)() const) {
  for (const LineCase& c : cases) {
    WithFile host(file, c.content, ReadingRules::host());
    EXPECT_EQ((host.*read)(host.path), c.host) << c.what;
    EXPECT_EQ((host.*result)(), c.hostRead) << c.what;
    WithFile plain(file, c.content, hostBut(&ReadingRules::everyLine));
    EXPECT_EQ((plain.*read)(plain.path), c.plain) << c.what;
    EXPECT_EQ((plain.*result)(), c.plainRead) << c.what;
  }
}

TEST(SideFiles, BadChannelsByRule) {
  const std::string filler(4090, 'x');
  const LineCase cases[] = {
      {"CR LF", "MLC11\r\nSTIM\r\nNONE\r\n", 1, "MLC11|", 0, "MLC11|STIM|NONE|"},
      {"CR and LF, blank lines", "\n\nMLC11\r\r\nSTIM\n", 1, "MLC11|", 0, "MLC11|STIM|"},
      {"no line end", "MLC11", 0, "", 0, "MLC11|"},
      {"empty", "", 1, "", 0, ""},
      {"not trimmed", " MLC11 \n", 1, " MLC11 |", 0, " MLC11 |"},
      {"Latin-1", "M\xFC\n", 1, "M\xC3\xBC|", 0, "M\xC3\xBC|"},
      {"one block, not more", filler + "\nabcd\n", 1, std::string(2048, 'x') + "|", 0, filler + "|abcd|"},
      {"a byte into the second block",
       std::string(2000, 'a') + "\n" + std::string(2000, 'b') + "\n" + std::string(94, 'c') + "\nlast\n", 1,
       std::string(2000, 'a') + "|" + std::string(2000, 'b') + "|" + std::string(94, 'c') + "|", 0,
       std::string(2000, 'a') + "|" + std::string(2000, 'b') + "|" + std::string(94, 'c') + "|last|"},
  };
  expectByRule("BadChannels", cases, &Probe::readBadChannels, &WithFile::bad);
}

TEST(SideFiles, BadChannelsMatchTheFullNameThenTheShortOne) {
  WithFile reader("BadChannels", "STIM\nMLC11-2805\n", ReadingRules::plain());
  reader.readBadChannels(reader.path);
  EXPECT_FALSE(reader.data.channels()[0].good);
  EXPECT_FALSE(reader.data.channels()[1].good);
  EXPECT_EQ(reader.data.setChannelGood4Name(L"MLC11", true, -1, true), 1);
  EXPECT_TRUE(reader.data.channels()[0].good);
  EXPECT_EQ(reader.data.setChannelGood4Name(L"MLC1", false, -1, true), 0);
}

TEST(SideFiles, BadSegmentsByRule) {
  const LineCase cases[] = {
      {"three fields", "3 0.5 1.25\n", 1, "3:500.000000-1250.000000|", 0, "3:500.000000-1250.000000|"},
      {"more fields, signs, tabs", "+3\t-.5e1  1 2 3\n", 1, "3:-5000.000000-1000.000000|", 0,
       "3:-5000.000000-1000.000000|"},
      {"two fields", "3 0.5\n1 0 1\n", 0, "", 0, ""},
      {"clamped", "99999999999 0 1\n", 1, "2147483647:0.000000-1000.000000|", 0,
       "2147483647:0.000000-1000.000000|"},
  };
  expectByRule("bad.segments", cases, &Probe::readBadSegments, &WithFile::segments);
  WithFile plain("bad.segments", "\n1 0 1\nnonsense\r\n2 0 1", ReadingRules::plain());
  plain.readBadSegments(plain.path);
  EXPECT_EQ(plain.segments(), "1:0.000000-1000.000000|2:0.000000-1000.000000|");
  ASSERT_EQ(plain.codes(), "segment.line");
  EXPECT_EQ(plain.user.findings()[0].line, 3);
}

TEST(SideFiles, SegmentTimesAreSinglePrecisionByRule) {
  const CString line(L"1 0.1 16777.217");
  const auto host = parseBadSegment(line, ReadingRules::host());
  const auto plain = parseBadSegment(line, hostBut(&ReadingRules::doubleNumbers));
  ASSERT_TRUE(host && plain);
  EXPECT_EQ(host->startMs, double{0.1F * 1000.0F});
  EXPECT_EQ(host->endMs, double{16777.217F * 1000.0F});
  EXPECT_EQ(plain->endMs, 16777.217 * 1000.0);
}

TEST(SideFiles, ScanTakesWhatTheFormatSays) {
  std::int32_t i = 0;
  double f = 0.0;
  CString word;
  const auto scanned = [&](const wchar_t* line, const wchar_t* format,
                           std::initializer_list<ScanTarget> targets) {
    return scan(line, format, targets, ScanPrecision::full);
  };
  EXPECT_EQ(scanned(L" x = -1.5e2z", L"%s = %f", {&word, &f}), 2);
  EXPECT_EQ(toUtf8(word), "x");
  EXPECT_EQ(f, -150.0);
  EXPECT_EQ(scanned(L"x=1", L"%s = %f", {&word, &f}), 1) << "the word takes it all";
  EXPECT_EQ(scanned(L"-12abc", L"%d", {&i}), 1);
  EXPECT_EQ(i, -12);
  EXPECT_EQ(scanned(L"+ 1", L"%d", {&i}), 0);
  EXPECT_EQ(scanned(L"--1", L"%f", {&f}), 0);
  EXPECT_EQ(scanned(L"+-1", L"%d", {&i}), 0);
  EXPECT_EQ(scanned(L"", L"%d", {&i}), 0);
  EXPECT_EQ(scanned(L"-99999999999", L"%d", {&i}), 1);
  EXPECT_EQ(i, INT32_MIN);
  EXPECT_EQ(scanned(L"1e999", L"%f", {&f}), 1);
  EXPECT_TRUE(std::isinf(f));
  EXPECT_EQ(scanned(L"1,5", L"%f", {&f}), 1) << "a comma is no decimal point, whatever the locale";
  EXPECT_EQ(f, 1.0);
}

TEST(SideFiles, MissingIsSilentAndUnreadableIsTold) {
  Probe reader;
  const CString path = reader.writeDataset({});
  EXPECT_EQ(reader.readBadChannels(path), 0);
  EXPECT_EQ(reader.user.transcript(), Lines{});
  std::filesystem::create_directory(reader.directory.path() / "run.ds" / "BadChannels");
  EXPECT_EQ(reader.readBadChannels(path), 0);
  EXPECT_EQ(reader.user.transcript(), Lines{"message: Open file Failed"});
  if (!std::filesystem::exists("/proc/self/mem")) return;
  std::filesystem::create_symlink("/proc/self/mem", reader.directory.path() / "run.ds" / "bad.segments");
  Probe plain(hostBut(&ReadingRules::everyLine));
  EXPECT_EQ(plain.readDatasetInfo(path, &plain.data, nullptr), 1) << "a recording can be used without them";
  EXPECT_EQ(plain.user.transcript(), (Lines{"message: Reading trigger error!", "message: Open file Failed"}));
  for (const Finding& finding : plain.user.findings())
    EXPECT_EQ(finding.severity, Finding::Severity::warning);
}

}  // namespace
