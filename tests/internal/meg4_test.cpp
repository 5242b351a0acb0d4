#include <gtest/gtest.h>

#include "internal/import_probe.h"
#include "meg4/sample_files.h"

namespace {

using D = MinimalDataset;

D dataset(std::vector<std::string> sampleFiles) {
  D d;
  d.sampleFiles = std::move(sampleFiles);
  return d;
}

constexpr const char* kTwoTrials = "0: 0 1 2 100 101 102\n1: 1000 1001 1002 1100 1101 1102\n";

TEST(Meg4, ImportsWholeTrials) {
  Import reading({}, 2, 2, 3);
  EXPECT_EQ(reading.whole(), 1);
  EXPECT_EQ(reading.stored(), kTwoTrials);
  EXPECT_EQ(reading.trace.calls, (Lines{"importCtfDataT(0, 2, 3)", "importCtfDataT(1, 2, 3)"}));
  EXPECT_EQ(reading.user.transcript(), (Lines{"progress: Importing CTF MEG data T...", "range 0 2",
                                              "position 0", "position 1", "closed"}));
}

TEST(Meg4, ImportsChannelBlocks) {
  Import reading({}, 2, 2, 3);
  EXPECT_EQ(reading.blocks(), 1);
  EXPECT_EQ(reading.stored(), kTwoTrials);
  EXPECT_EQ(reading.trace.calls, (Lines{"importCtfDataC(0, 0, 3)", "importCtfDataC(0, 1, 3)",
                                        "importCtfDataC(1, 0, 3)", "importCtfDataC(1, 1, 3)"}));
  EXPECT_EQ(reading.user.transcript(),
            (Lines{"progress: Importing CTF MEG data ...", "range 0 2", "position 0", "position 1",
                   "position 0", "position 1", "closed"}));
}

TEST(Meg4, KeepsExtremeSamples) {
  const std::string trial = Bytes().i32(-2147483648).i32(2147483647).i32(-1).i32(0x01020304).str();
  Import reading(dataset({D::sampleFile({trial})}), 1, 2, 2);
  EXPECT_EQ(reading.whole(), 1);
  EXPECT_EQ(reading.stored(), "0: -2147483648 2147483647 -1 16909060\n");
}

TEST(Meg4, OpensOnlyWhatItNeeds) {
  // A second file would be refused, but the first holds the run already.
  Import reading(dataset({D::sampleFile({D::trial(0, 2, 3), D::trial(1, 2, 3)}), "no sample file"}), 2, 2, 3);
  EXPECT_EQ(reading.whole(), 1);
}

TEST(Meg4, ReadsASplitSetByWholeTrialsUnderBothRules) {
  const D split = MinimalDataset::split({{0, 1}, {2}, {3}}, 2, 2);
  const D joined = MinimalDataset::split({{0, 1, 2, 3}}, 2, 2);
  Import expected(joined, 4, 2, 2);
  EXPECT_EQ(expected.whole(), 1);
  Import plain(split, 4, 2, 2, hostBut(&ReadingRules::filesAreOneSequence));
  EXPECT_EQ(plain.whole(), 1);
  EXPECT_EQ(plain.stored(), expected.stored());
  Import host(split, 4, 2, 2);
  EXPECT_EQ(host.whole(), 1);
  EXPECT_EQ(host.stored(), expected.stored());
  // The trial that the first file no longer holds is announced again before it is read from the next.
  EXPECT_EQ(host.user.transcript(),
            (Lines{"progress: Importing CTF MEG data T...", "range 0 4", "position 0", "position 1",
                   "position 2", "position 2", "position 3", "position 3", "closed"}));
}

TEST(Meg4, ChannelBlocksOfASplitSetAreMisplacedUnderHostRulesOnly) {
  const D split = MinimalDataset::split({{0}, {1}}, 2, 1);
  Import host(split, 2, 2, 1);
  EXPECT_EQ(host.blocks(), -1) << "the last read goes to a file that was never opened";
  EXPECT_EQ(host.codes(), "meg4.short");
  // Trial 1 begins in the second file: its first block is stored as channel 1 of trial 0, its second as
  // channel 0 of trial 1.
  EXPECT_EQ(host.trace.calls, (Lines{"importCtfDataC(0, 0, 1)", "importCtfDataC(0, 1, 1)",
                                     "importCtfDataC(0, 1, 1)", "importCtfDataC(1, 0, 1)"}));
  EXPECT_EQ(host.stored(), "0: 0 1000\n1: 1100 0\n");

  Import plain(split, 2, 2, 1, hostBut(&ReadingRules::filesAreOneSequence));
  EXPECT_EQ(plain.blocks(), 1);
  EXPECT_EQ(plain.stored(), "0: 0 100\n1: 1000 1100\n");
}

TEST(Meg4, HostRulesStopAtEightFiles) {
  const D nine = MinimalDataset::split({{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}, {8}}, 1, 1);
  Import host(nine, 9, 1, 1);
  EXPECT_EQ(host.whole(), -1);
  EXPECT_EQ(host.data.numStoredTrials(), 8);
  Import plain(nine, 9, 1, 1, hostBut(&ReadingRules::filesAreOneSequence));
  EXPECT_EQ(plain.whole(), 1);
  EXPECT_EQ(plain.data.numStoredTrials(), 9);
}

struct SetCase {
  const char* what;
  D dataset;  // of 3 trials, 1 channel, 2 samples
  int host;
  Lines hostShown;  // without progress
  int plain;
  Lines plainShown;
  const char* plainCodes;
  const char* plainStored;
};

TEST(Meg4, TreatsFaultySetsByRule) {
  const auto t = [](int trial) { return D::trial(trial, 1, 2); };
  const std::string half = t(2).substr(0, 5);
  const Lines failed{"message: Failed"};
  const Lines invalid{"message: Invalid CTF data file!"};
  const SetCase cases[] = {
      {"no file", dataset({}), 0, failed, 0, failed, "file.notFound", ""},
      {"empty file", dataset({""}), 0, invalid, 0, invalid, "meg4.magic", ""},
      {"wrong header", dataset({"MEG41CPx"}), 0, invalid, 0, invalid, "meg4.magic", ""},
      {"header only", dataset({D::sampleFile({})}), 0, failed, 0, failed, "meg4.empty", ""},
      {"a trial is missing",
       dataset({D::sampleFile({t(0), t(1)})}),
       0,
       failed,
       1,
       {},
       "meg4.short",
       "0: 0 1\n1: 1000 1001\n"},
      {"cut in the last trial",
       dataset({D::sampleFile({t(0), t(1), half})}),
       0,
       failed,
       1,
       {},
       "meg4.short",
       "0: 0 1\n1: 1000 1001\n"},
      {"cut before the last file", dataset({D::sampleFile({t(0), half}), D::sampleFile({t(2)})}), 0, failed,
       0, failed, "meg4.cut", ""},
      {"trailing bytes",
       dataset({D::sampleFile({t(0), t(1), t(2), half})}),
       1,
       {},
       1,
       {},
       "meg4.trailing",
       "0: 0 1\n1: 1000 1001\n2: 2000 2001\n"},
      {"a last file that was only begun",
       dataset({D::sampleFile({t(0), t(1)}), "MEG"}),
       0,
       invalid,
       1,
       {},
       "meg4.short",
       "0: 0 1\n1: 1000 1001\n"},
      {"a file that was only begun in between",
       dataset({D::sampleFile({t(0)}), "MEG", D::sampleFile({t(2)})}), 0, invalid, 0, invalid, "meg4.magic",
       ""},
      {"fewer trials in between",
       dataset({D::sampleFile({t(0), t(1)}), D::sampleFile({}), D::sampleFile({t(2)})}),
       1,
       {},
       1,
       {},
       "meg4.uneven",
       "0: 0 1\n1: 1000 1001\n2: 2000 2001\n"},
      {"a file is missing", dataset({D::sampleFile({t(0)}), "", D::sampleFile({t(1), t(2)})}), 0, failed, 0,
       failed, "meg4.gap", ""},
      {"a file too many",
       dataset({D::sampleFile({t(0), t(1), t(2)}), D::sampleFile({t(3)})}),
       1,
       {},
       1,
       {},
       "meg4.trailing",
       "0: 0 1\n1: 1000 1001\n2: 2000 2001\n"},
      {"wrong header of the second", dataset({D::sampleFile({t(0)}), "MEG42CP!"}), 0, invalid, 0, invalid,
       "meg4.magic", ""},
  };
  const auto messages = [](const Import& reading) {
    Lines lines;
    for (const std::string& line : reading.user.transcript())
      if (line.starts_with("message")) lines.push_back(line);
    return lines;
  };
  for (const SetCase& c : cases) {
    Import host(c.dataset, 3, 1, 2);
    EXPECT_EQ(host.whole(), c.host) << c.what;
    EXPECT_EQ(messages(host), c.hostShown) << c.what;
    Import plain(c.dataset, 3, 1, 2, hostBut(&ReadingRules::filesAreOneSequence));
    EXPECT_EQ(plain.whole(), c.plain) << c.what;
    EXPECT_EQ(messages(plain), c.plainShown) << c.what;
    EXPECT_EQ(plain.codes(), c.plainCodes) << c.what;
    EXPECT_EQ(plain.stored(), c.plainStored) << c.what;
    Import blocks(c.dataset, 3, 1, 2, hostBut(&ReadingRules::filesAreOneSequence));
    EXPECT_EQ(blocks.blocks(), c.plain) << c.what;
    EXPECT_EQ(blocks.stored(), c.plainStored) << c.what;
  }
}

TEST(Meg4, RefusesCountsBelowOneWithoutAMessage) {
  CCtfDatasetReader empty(ReadingRules::host());
  EXPECT_EQ(empty.readCtfDataT(L"run.meg4"), 0) << "no data object at all";
  for (const auto& [trials, channels, samples] : {std::array{0, 1, 1}, {1, -1, 1}, {1, 1, 0}}) {
    Import reading({}, trials, channels, samples);
    EXPECT_EQ(reading.whole(), 0);
    EXPECT_EQ(reading.blocks(), 0);
    EXPECT_EQ(reading.user.transcript(), Lines{});
    EXPECT_EQ(reading.codes(), "res4.counts res4.counts");
  }
}

TEST(Meg4, ByteCountsWrapByRule) {
  const std::uint64_t bytes = trialBytes({1, 1, (std::int64_t{1} << 30) + 2});
  EXPECT_EQ(bytes, (std::uint64_t{1} << 32) + 8);
  EXPECT_EQ(countedBytes(bytes, ReadingRules::host()), 8u);
  EXPECT_EQ(countedBytes(bytes, hostBut(&ReadingRules::wideCounts)), bytes);
}

TEST(Meg4, PromisesBeyondTheFilesAreNotAllocatedFor) {
  // 8 files of a few bytes, a header that promises terabytes: reading goes as far as the files do.
  const D eight = MinimalDataset::split({{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}}, 1, 1);
  Import reading(eight, 1, 30000, 30000000, hostBut(&ReadingRules::wideCounts));
  EXPECT_EQ(reading.whole(), -1);
  EXPECT_EQ(reading.data.numStoredTrials(), 0);
}

}  // namespace
