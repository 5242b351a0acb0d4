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

TEST(Meg4, GoesOnToTheNextFileAtATrial) {
  Import host(MinimalDataset::split({{0, 1}, {2}, {3}}, 2, 2), 4, 2, 2);
  EXPECT_EQ(host.whole(), 1);
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
  std::vector<std::string> files;  // of 3 trials, 1 channel, 2 samples
  const char* host;                // what host rules show; they fail then
  const char* plain;               // what plain rules show
  const char* plainCodes;
  std::size_t plainStored;  // trials, from the first on
};

TEST(Meg4, TreatsFaultySetsByRule) {
  const auto trials = [](int first, int count, const std::string& rest = "") {
    std::vector<std::string> all;
    for (int t = first; t < first + count; ++t)
      all.push_back(D::trial(t, 1, 2));
    all.push_back(rest);
    return D::sampleFile(all);
  };
  const std::string half = D::trial(2, 1, 2).substr(0, 5);
  const std::array trialTexts{"0: 0 1\n", "1: 1000 1001\n", "2: 2000 2001\n"};
  const char *const fine = "", *const failed = "message: Failed";
  const char* const invalid = "message: Invalid CTF data file!";
  const SetCase cases[] = {
      {"no file", {}, failed, failed, "file.notFound", 0},
      {"empty file", {""}, invalid, invalid, "meg4.magic", 0},
      {"wrong header", {"MEG41CPx"}, invalid, invalid, "meg4.magic", 0},
      {"header only", {trials(0, 0)}, failed, failed, "meg4.empty", 0},
      {"a trial is missing", {trials(0, 2)}, failed, fine, "meg4.short", 2},
      {"cut in the last trial", {trials(0, 2, half)}, failed, fine, "meg4.short", 2},
      {"cut before the last file", {trials(0, 1, half), trials(2, 1)}, failed, failed, "meg4.cut", 0},
      {"trailing bytes", {trials(0, 3, half)}, fine, fine, "meg4.trailing", 3},
      {"a last file that was only begun", {trials(0, 2), "MEG"}, invalid, fine, "meg4.short", 2},
      {"one begun in between", {trials(0, 1), "MEG", trials(2, 1)}, invalid, invalid, "meg4.magic", 0},
      {"fewer trials in between", {trials(0, 2), trials(2, 0), trials(2, 1)}, fine, fine, "meg4.uneven", 3},
      {"a file is missing", {trials(0, 1), "", trials(1, 2)}, failed, failed, "meg4.gap", 0},
      {"a file too many", {trials(0, 3), trials(3, 1)}, fine, fine, "meg4.trailing", 3},
      {"wrong header of the second", {trials(0, 1), "MEG42CP!"}, invalid, invalid, "meg4.magic", 0},
  };
  const auto expect = [](Import& reading, int result, const char* shown, const char* what) {
    std::string messages;
    for (const std::string& line : reading.user.transcript())
      if (line.starts_with("message")) messages += line;
    EXPECT_EQ(messages, shown) << what;
    EXPECT_EQ(result, messages.empty()) << what;
  };
  for (const SetCase& c : cases) {
    Import host(dataset(c.files), 3, 1, 2);
    expect(host, host.whole(), c.host, c.what);
    std::string stored;
    for (const char* trial : std::span(trialTexts).first(c.plainStored))
      stored += trial;
    for (const bool byBlocks : {false, true}) {
      Import plain(dataset(c.files), 3, 1, 2, hostBut(&ReadingRules::filesAreOneSequence));
      expect(plain, byBlocks ? plain.blocks() : plain.whole(), c.plain, c.what);
      EXPECT_EQ(plain.codes(), c.plainCodes) << c.what;
      EXPECT_EQ(plain.stored(), stored) << c.what;
    }
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
