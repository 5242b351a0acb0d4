#include <gtest/gtest.h>

#include "internal/side_probe.h"
#include "sidefiles/bad_segments.h"

namespace {

std::string bad(WithFile& reader) {
  std::string names = std::to_string(reader.readBadChannels(reader.path));
  for (const CString& name : reader.data.badChannelNames())
    names += " " + toUtf8(name);
  return names;
}

std::string segments(WithFile& reader) {
  std::string text = std::to_string(reader.readBadSegments(reader.path));
  for (const BadSegment& s : reader.data.badSegments())
    text += " " + std::to_string(s.trial) + ":" + shown(s.startMs) + "-" + shown(s.endMs);
  return text;
}

TEST(BadFiles, ChannelsByRule) {
  const std::string filler(4090, 'x'), a(2000, 'a'), b(2000, 'b'), c(94, 'c');
  const SideCase cases[] = {
      {"CR LF", "MLC11\r\nSTIM\r\nNONE\r\n", "1 MLC11", "0 MLC11 STIM NONE"},
      {"CR and LF, blank lines", "\n\nMLC11\r\r\nSTIM\n", "1 MLC11", "0 MLC11 STIM"},
      {"no line end", "MLC11", "0", "0 MLC11"},
      {"empty", "", "1", "0"},
      {"not trimmed", " MLC11 \n", "1  MLC11 ", "0  MLC11 "},
      {"Latin-1", "M\xFC\n", "1 M\xC3\xBC", "0 M\xC3\xBC"},
      {"one block, not more", filler + "\nabcd\n", "1 " + std::string(2048, 'x'), "0 " + filler + " abcd"},
      {"a byte into the second block", a + "\n" + b + "\n" + c + "\nlast\n", "1 " + a + " " + b + " " + c,
       "0 " + a + " " + b + " " + c + " last"},
  };
  expectByRule("BadChannels", cases, bad);
  EXPECT_EQ(readFlipped(&ReadingRules::everyLine, "BadChannels", "MLC11\nSTIM", bad), "0 MLC11 STIM");
}

TEST(BadFiles, ChannelsMatchTheFullNameThenTheShortOne) {
  WithFile reader("BadChannels", "STIM\nMLC11-2805\n", ReadingRules::plain());
  reader.readBadChannels(reader.path);
  EXPECT_FALSE(reader.data.channels()[0].good);
  EXPECT_FALSE(reader.data.channels()[1].good);
  EXPECT_EQ(reader.data.setChannelGood4Name(L"MLC11", true, -1, true), 1);
  EXPECT_TRUE(reader.data.channels()[0].good);
  EXPECT_EQ(reader.data.setChannelGood4Name(L"MLC1", false, -1, true), 0);
}

TEST(BadFiles, SegmentsByRule) {
  const SideCase cases[] = {
      {"three fields", "3 0.5 1.25\n", "1 3:500-1250", "0 3:500-1250"},
      {"more fields, signs, tabs", "+3\t-.5e1  1 2 3\n", "1 3:-5000-1000", "0 3:-5000-1000"},
      {"two fields", "3 0.5\n1 0 1\n", "0", "0 1:0-1000"},
      {"clamped", "99999999999 0 1\n", "1 2147483647:0-1000", "0 2147483647:0-1000"},
  };
  expectByRule("bad.segments", cases, segments);
  WithFile plain("bad.segments", "\n1 0 1\nnonsense\r\n2 0 1", ReadingRules::plain());
  EXPECT_EQ(segments(plain), "0 1:0-1000 2:0-1000");
  ASSERT_EQ(plain.codes(), "segment.line");
  EXPECT_EQ(plain.user.findings()[0].line, 3);
}

TEST(BadFiles, SegmentTimesAreSinglePrecisionByRule) {
  const CString line(L"1 0.1 16777.217");
  const auto host = parseBadSegment(line, ReadingRules::host());
  const auto plain = parseBadSegment(line, hostBut(&ReadingRules::doubleNumbers));
  ASSERT_TRUE(host && plain);
  EXPECT_EQ(host->startMs, double{0.1F * 1000.0F});
  EXPECT_EQ(host->endMs, double{16777.217F * 1000.0F});
  EXPECT_EQ(plain->endMs, 16777.217 * 1000.0);
}

}  // namespace
