#include <gtest/gtest.h>

#include <algorithm>

#include <functional>

#include "internal/import_probe.h"
#include "meg4/sample_files.h"
#include "support/allocations.h"

namespace {

using D = MinimalDataset;

CMarkerDatazk markerIn(const std::vector<int>& trials) {
  CMarkerDatazk marker;
  for (const int trial : trials)
    marker.samples.push_back({trial, 0.0, 0});
  return marker;
}

/// Six trials of two channels and two samples in one file; a destination beside the reader's own data object.
struct Importers : Import {
  explicit Importers(const D& dataset = D::split({{0, 1, 2, 3, 4, 5}}, 2, 2),
                     const ReadingRules& rules = ReadingRules::host(), int samples = 2)
      : Import(dataset, 6, 2, samples, rules) {
    destination.setImportTrace(&trace);
  }
  void markDestination(const std::vector<int>& trials) {
    const CMarkerDatazk marker = markerIn(trials);
    destination.getTrigManager()->copyNewTrigType(&marker, false);
  }
  CMEGDatazk destination;
};

TEST(Importers, TriggerRenumbersTheMarkedTrials) {
  Importers reading;
  const CMarkerDatazk marker = markerIn({5, 2, 2, 77});
  EXPECT_EQ(reading.readCtfDataTrigger(reading.path, &marker), 1);
  EXPECT_EQ(reading.trace.calls, (Lines{"importCtfDataT(0, 2, 2)", "importCtfDataT(1, 2, 2)"}));
  EXPECT_EQ(reading.stored(), "0: 2000 2001 2100 2101\n1: 5000 5001 5100 5101\n");
  EXPECT_EQ(reading.data.trialOrigin(1).fileTrial, 5);
  EXPECT_EQ(reading.user.transcript()[0], "progress: Importing MEG data with triggers ...");
  EXPECT_EQ(reading.user.transcript()[1], "range 0 6");
  EXPECT_EQ(reading.user.transcript().size(), 2u + 6 + 1) << "every trial is read";

  EXPECT_EQ(reading.readCtfDataTrigger(reading.path, nullptr), 0);
  EXPECT_EQ(reading.codes(), "call.marker");
}

struct OccurrenceCase {
  const char* what;
  std::vector<int> occurrences;
  std::vector<int> kept;
};

TEST(Importers, OccurrencesMustRise) {
  const OccurrenceCase cases[] = {
      {"rising", {1, 3, 4}, {1, 3, 4}}, {"descending", {3, 1}, {3}},      {"repeated", {2, 2, 4}, {2}},
      {"none there", {9}, {}},          {"no occurrence at all", {}, {}}, {"negative", {-1, 0}, {}},
  };
  for (const OccurrenceCase& c : cases) {
    Importers reading;
    reading.markDestination(c.occurrences);
    EXPECT_EQ(reading.readCtfDataMultiTrial(reading.path, &reading.data, &reading.destination), 1) << c.what;
    std::vector<int> kept;
    Lines calls;
    for (int t = 0; t < reading.destination.trialSlots(); ++t)
      if (reading.destination.trialSamples(t) != nullptr) kept.push_back(t);
    // The third argument is the trial's byte size.
    for (const int t : c.kept)
      calls.push_back("importCtfDataT(" + std::to_string(t) + ", 2, 16)");
    EXPECT_EQ(kept, c.kept) << c.what;
    EXPECT_EQ(reading.trace.calls, calls) << c.what;
  }
}

TEST(Importers, MultiTrialKeepsNumbersAndGaps) {
  Importers reading;
  reading.markDestination({1, 4});
  EXPECT_EQ(reading.readCtfDataMultiTrial(reading.path, &reading.data, &reading.destination), 1);
  EXPECT_EQ(Import::storedIn(reading.destination), "1: 1000 1001 1100 1101\n4: 4000 4001 4100 4101\n");
  EXPECT_EQ(reading.destination.openTrial(0), 0) << "never stored";
  EXPECT_EQ(reading.destination.trialSamples(0), nullptr);
  EXPECT_EQ(reading.destination.openTrial(4), 1);
  EXPECT_EQ(reading.user.transcript()[0], "progress: Import multi-trials data ...");
  EXPECT_EQ(reading.readCtfDataMultiTrial(reading.path, nullptr, &reading.destination), 0) << "no counts";
  EXPECT_EQ(reading.readCtfDataMultiTrial(reading.path, &reading.data, nullptr), 0);
  CMEGDatazk unmarked;
  EXPECT_EQ(reading.readCtfDataMultiTrial(reading.path, &reading.data, &unmarked), 0);
}

TEST(Importers, AccumulateStopsAtItsLimit) {
  for (const auto& [count, kept] : {std::pair{0, 1u}, {-5, 1u}, {2, 2u}, {100, 4u}}) {
    Importers reading;
    reading.markDestination({0, 2, 3, 5});
    EXPECT_EQ(reading.readCtfDataAccumulate(reading.path, &reading.destination, count), 1);
    EXPECT_EQ(reading.trace.calls.size(), kept) << count;
    EXPECT_EQ(reading.trace.calls[0], "importCtfDataT(0, 2, 16)");
    EXPECT_EQ(reading.user.transcript()[0], "progress: Import and accumulate MEG data ...");
    EXPECT_EQ(reading.user.transcript().back(), "closed");
  }
}

TEST(Importers, AverageStoresSumsAndCounts) {
  D dataset;
  const auto trial = [](std::int32_t value) {
    return Bytes().i32(value).i32(2147483647).i32(-1).i32(0).str();
  };
  dataset.sampleFiles = {D::sampleFile({trial(1), trial(50), trial(2), trial(3), trial(60), trial(70)})};
  Importers reading(dataset);
  reading.markDestination({0, 2, 3});
  EXPECT_EQ(reading.readCtfDataAverage(reading.path, &reading.destination), 1);
  EXPECT_EQ(reading.trace.calls, Lines{"setTrialDataF(0, 2, 2)"});
  const double* sums = reading.destination.trialSums(0);
  ASSERT_NE(sums, nullptr);
  EXPECT_EQ((std::array{sums[0], sums[1], sums[2], sums[3]}), (std::array{6.0, 3 * 2147483647.0, -3.0, 0.0}));
  EXPECT_EQ(reading.destination.trialSamples(0), nullptr) << "summed, not raw";
  EXPECT_EQ(reading.destination.openTrial(0), 1);
  EXPECT_EQ(reading.destination.getMEGRecordInfozk()->numTrials, 1);
  EXPECT_EQ(reading.destination.getMEGRecordInfozk()->numTrialsAvgd, 3);
  EXPECT_EQ(reading.user.transcript()[0], "progress: Import and average MEG data ...");

  Importers none;
  none.markDestination({99});
  EXPECT_EQ(none.readCtfDataAverage(none.path, &none.destination), 1);
  EXPECT_EQ(none.destination.trialSums(0)[3], 0.0);
  EXPECT_EQ(none.destination.getMEGRecordInfozk()->numTrialsAvgd, 0);
}

TEST(Importers, ResampleKeepsEveryNthAndPassesItsOddArguments) {
  Import reading(D::split({{0, 1}}, 2, 4), 2, 2, 4);
  reading.info().sampleRate = reading.info().sampleRateAcq = 600.0;
  reading.info().preTrigSamples = 5;
  EXPECT_EQ(reading.readCtfDataResample(reading.path, 3), 1);
  // A block of one value is four bytes: as many as the trial has samples. It is a block all the same.
  EXPECT_EQ(reading.trace.calls, (Lines{"importCtfDataT(0, 2, 4)", "importCtfDataT(0, 2, 4)",
                                        "importCtfDataT(1, 2, 4)", "importCtfDataT(1, 2, 4)"}));
  EXPECT_EQ(reading.stored(), "0: 0 100\n1: 1000 1100\n");
  EXPECT_EQ(reading.info().samplesPerTrial, 1);
  EXPECT_EQ(reading.info().samplesPerTrialAcq, 1);
  EXPECT_EQ(reading.info().sampleRate, 200.0);
  EXPECT_EQ(reading.info().sampleRateAcq, 200.0);
  EXPECT_EQ(reading.info().preTrigSamples, 5);
  EXPECT_EQ(reading.data.trialOrigin(1).step, 3);
  EXPECT_EQ(reading.user.transcript(),
            (Lines{"progress: Importing MEG data re-sampling ...", "range 0 2", "position 0", "position 1",
                   "position 0", "position 1", "closed"}));
}

TEST(Importers, ResampleByFactor) {
  struct Case {
    int factor, length;
    double rate;
    const char* stored;
  };
  const Case cases[] = {
      {0, 5, 600.0, "0: 0 1 2 3 4\n"}, {1, 5, 600.0, "0: 0 1 2 3 4\n"},  {2, 2, 300.0, "0: 0 2\n"},
      {5, 1, 120.0, "0: 0\n"},         {2147483647, 1, 120.0, "0: 0\n"},
  };
  for (const Case& c : cases) {
    Import reading(D::split({{0}}, 1, 5), 1, 1, 5);
    reading.info().sampleRate = 600.0;
    EXPECT_EQ(reading.readCtfDataResample(reading.path, c.factor), 1);
    EXPECT_EQ(reading.stored(), c.stored) << c.factor;
    EXPECT_EQ(reading.info().samplesPerTrial, c.length) << c.factor;
    EXPECT_EQ(reading.info().sampleRate, c.rate) << c.factor;
  }
}

TEST(Importers, SelectedKeepsASpanOrRefuses) {
  struct Case {
    std::int64_t first, last;
    int result;
    const char* stored;
    int length;
  };
  const Case cases[] = {
      {1, 2, 1, "0: 1 2 101 102\n", 2},
      {-5, 0, 1, "0: 0 100\n", 1},
      {3, 5000, 1, "0: 3 103\n", 1},
      {0, 3, 0, "", 4},
      {0, 5000, 0, "", 4},
      {2, 1, 0, "", 4},
      {4, 9, 0, "", 4},
      {INT64_MIN, INT64_MAX, 0, "", 4},
      {INT64_MAX, INT64_MIN, 0, "", 4},
  };
  for (const Case& c : cases) {
    Import reading(D::split({{0}}, 2, 4), 1, 2, 4);
    EXPECT_EQ(reading.readCtfDataSelected(reading.path, c.first, c.last), c.result)
        << c.first << ":" << c.last;
    EXPECT_EQ(reading.stored(), c.stored) << c.first << ":" << c.last;
    EXPECT_EQ(reading.info().samplesPerTrial, c.length);
    EXPECT_EQ(reading.codes(), c.result ? "" : "route.refused");
    if (!c.result) continue;
    EXPECT_EQ(reading.trace.calls[1], "importCtfDataC(0, 1, " + std::to_string(c.length) + ")");
    EXPECT_EQ(reading.user.transcript()[0], "progress: Importing MEG selected data ...");
    EXPECT_EQ(reading.data.trialOrigin(0).firstSample, std::max<std::int64_t>(c.first, 0));
  }
}

TEST(Importers, SplitCutsTrialsIntoPieces) {
  struct Case {
    int parts, effective, length;
    const char* stored;
  };
  const Case cases[] = {
      {0, 1, 5, "0: 0 1 2 3 4\n1: 1000 1001 1002 1003 1004\n"},
      {2, 2, 2, "0: 0 1\n1: 2 3\n2: 1000 1001\n3: 1002 1003\n"},
      {4, 4, 1, "0: 0\n1: 1\n2: 2\n3: 3\n4: 1000\n5: 1001\n6: 1002\n7: 1003\n"},
      {99, 5, 1, "0: 0\n1: 1\n2: 2\n3: 3\n4: 4\n5: 1000\n6: 1001\n7: 1002\n8: 1003\n9: 1004\n"},
  };
  for (const Case& c : cases) {
    Import reading(D::split({{0, 1}}, 1, 5), 2, 1, 5);
    EXPECT_EQ(reading.readCtfDataTsplit(reading.path, c.parts), 1);
    EXPECT_EQ(reading.stored(), c.stored) << c.parts;
    EXPECT_EQ(reading.trace.calls[1], "importCtfDataTsplit(1, " + std::to_string(c.effective) + ", 1, 5, " +
                                          std::to_string(c.length) + ")");
    EXPECT_EQ(reading.info().samplesPerTrial, c.length);
    EXPECT_EQ(reading.info().numTrialsDone, 2 * c.effective);
    EXPECT_EQ(reading.info().numTrials, 2);
  }
  Import reading(D::split({{0, 1}}, 2, 5), 2, 2, 5);
  EXPECT_EQ(reading.readCtfDataTsplit(reading.path, 2), 1);
  EXPECT_EQ(reading.stored(),
            "0: 0 1 100 101\n1: 2 3 102 103\n2: 1000 1001 1100 1101\n3: 1002 1003 1102 1103\n");
  EXPECT_EQ(reading.data.trialOrigin(3).fileTrial, 1);
  EXPECT_EQ(reading.data.trialOrigin(3).firstSample, 2);
  EXPECT_EQ(reading.user.transcript(), (Lines{"progress: Importing and spliting trials  ...", "range 0 2",
                                              "position 0", "position 1", "closed"}));
}

/// Every importer, by name, with what it leaves where it stores.
struct Every {
  const char* name;
  std::function<int(Importers&)> run;
  bool byChannel;
  bool intoDestination = false;
};

std::vector<Every> everyImporter() {
  return {
      {"T", [](Importers& i) { return i.readCtfDataT(i.path); }, false},
      {"C", [](Importers& i) { return i.readCtfDataC(i.path); }, true},
      {"Trigger",
       [](Importers& i) {
         const CMarkerDatazk marker = markerIn({1, 4});
         return i.readCtfDataTrigger(i.path, &marker);
       },
       false},
      {"MultiTrial", [](Importers& i) { return i.readCtfDataMultiTrial(i.path, &i.data, &i.destination); },
       false, true},
      {"Accumulate", [](Importers& i) { return i.readCtfDataAccumulate(i.path, &i.destination, 2); }, false,
       true},
      {"Average", [](Importers& i) { return i.readCtfDataAverage(i.path, &i.destination); }, false, true},
      {"Resample", [](Importers& i) { return i.readCtfDataResample(i.path, 2); }, true},
      {"Selected", [](Importers& i) { return i.readCtfDataSelected(i.path, 1, 1); }, true},
      {"Tsplit", [](Importers& i) { return i.readCtfDataTsplit(i.path, 2); }, false},
  };
}

std::string resultOf(const Every& importer, Importers& reading) {
  reading.markDestination({1, 4});
  const int outcome = Import::outcome([&] { return importer.run(reading); });
  std::string text = std::to_string(outcome) + "\n";
  const CMEGDatazk& data = importer.intoDestination ? reading.destination : reading.data;
  text += Import::storedIn(data);
  if (const double* sums = data.trialSums(0)) text += "sums " + std::to_string(sums[0]) + "\n";
  return text;
}

TEST(Importers, ReadSplitSetsAsOneFileOrMisplaceBlocks) {
  const D split = D::split({{0, 1}, {2, 3, 4}, {5}}, 2, 2);
  for (const Every& importer : everyImporter()) {
    Importers joined;
    const std::string expected = resultOf(importer, joined);
    Importers plain(split, hostBut(&ReadingRules::filesAreOneSequence));
    EXPECT_EQ(resultOf(importer, plain), expected) << importer.name;
    Importers host(split);
    const std::string hostResult = resultOf(importer, host);
    if (importer.byChannel) {
      EXPECT_TRUE(hostResult.starts_with("-1")) << importer.name << " " << hostResult;
      EXPECT_EQ(host.info().samplesPerTrial, 2) << "written after a complete reading only";
    } else {
      EXPECT_EQ(hostResult, expected) << importer.name;
    }
  }
}

TEST(Importers, ChannelBlocksOfSeveralFilesAreMisplacedByHostRules) {
  // Trial 1 begins in the second file; its first block goes to trial 0, and the run ends one block early.
  const D split = D::split({{0}, {1}}, 2, 4);
  Import resampled(split, 2, 2, 4);
  EXPECT_EQ(Import::outcome([&] { return resampled.readCtfDataResample(resampled.path, 2); }), -1);
  EXPECT_EQ(resampled.stored(), "0: 0 2 100 102\n1: 1100 1102 0 0\n")
      << "blocks carry no channel: the surplus is lost";
  Import selected(split, 2, 2, 4);
  EXPECT_EQ(Import::outcome([&] { return selected.readCtfDataSelected(selected.path, 1, 2); }), -1);
  EXPECT_EQ(selected.stored(), "0: 1 2 1001 1002\n1: 1101 1102 0 0\n");
}

TEST(Importers, TreatSetsCutShortByRule) {
  const auto t = [](int trial) { return D::trial(trial, 2, 2); };
  const std::string half = t(5).substr(0, 7);
  struct Case {
    const char* what;
    std::vector<std::string> files;
    bool plain;
  };
  const Case cases[] = {
      {"at a trial's end", {D::sampleFile({t(0), t(1), t(2), t(3), t(4)})}, true},
      {"inside the last trial", {D::sampleFile({t(0), t(1)}), D::sampleFile({t(2), t(3), t(4), half})}, true},
      {"inside an earlier file",
       {D::sampleFile({t(0), half}), D::sampleFile({t(1), t(2), t(3), t(4)})},
       false},
      {"an empty file", {""}, false},
  };
  for (const Case& c : cases)
    for (const Every& importer : everyImporter()) {
      D dataset;
      dataset.sampleFiles = c.files;
      Importers host(dataset);
      EXPECT_EQ(resultOf(importer, host)[0], '0') << c.what << " " << importer.name;
      Importers plain(dataset, hostBut(&ReadingRules::filesAreOneSequence));
      EXPECT_EQ(resultOf(importer, plain)[0], c.plain ? '1' : '0') << c.what << " " << importer.name;
      EXPECT_TRUE(plain.codes().find(c.plain ? "meg4.short" : "meg4.") != std::string::npos) << plain.codes();
    }
}

TEST(Importers, AllocationFailuresEndSilentlyOrWithTheirText) {
  constexpr int kSamples = 50000;  // so many that nothing else allocates as much
  const D dataset = D::split({{0, 1, 2, 3, 4, 5}}, 2, kSamples);
  const std::string tooBig = "message: Allocate Memeory error! Is dataset too big?!";
  for (const Every& importer : everyImporter()) {
    const std::string name = importer.name;
    if (name == "T") continue;  // reads every trial into its place
    Importers reading(dataset, ReadingRules::host(), kSamples);
    reading.markDestination({1, 4});
    const FailingNew noBuffer(kSamples * sizeof(std::int32_t));
    EXPECT_EQ(importer.run(reading), 0) << importer.name;
    std::string shown;
    for (const std::string& line : reading.user.transcript())
      if (line.starts_with("message")) shown = line;
    const bool tells = name == "C" || name == "Trigger";
    EXPECT_EQ(shown, tells              ? tooBig
                     : name == "Tsplit" ? "message: Allocate memeory error! Is dataset too big?!"
                                        : "")
        << name;
    EXPECT_EQ(reading.info().samplesPerTrial, kSamples) << name;
  }
  Importers reading(dataset, ReadingRules::host(), kSamples);
  reading.markDestination({1, 4});
  const FailingNew noSums(2 * kSamples * sizeof(double));
  EXPECT_EQ(reading.readCtfDataAverage(reading.path, &reading.destination), 0)
      << "the buffer fits, the sums do not";

  // More than any address space has room for; the files are opened, and eight are enough.
  Importers huge(D::split({{0}, {0}, {0}, {0}, {0}, {0}, {0}, {0}}, 2, 3), ReadingRules::host(), INT32_MAX);
  huge.info().numTrials = INT16_MAX;
  EXPECT_EQ(huge.readCtfDataT(huge.path), 0);
  EXPECT_TRUE(std::ranges::count(huge.user.transcript(), tooBig) == 1);
}

TEST(Importers, WrappedTrialsHoldOnlyWhatWasRead) {
  // A trial of 4 GiB and 8 bytes in a sparse file: where byte counts wrap, 8 bytes are read and stored.
  constexpr std::int32_t kSamples = (1 << 30) + 2;
  D dataset;
  dataset.sampleFiles = {D::sampleFile({Bytes().i32(5).i32(6).str()})};
  const auto expectWrapped = [&](const char* name, auto run,
                                 const ReadingRules& rules = ReadingRules::host()) {
    Importers reading(dataset, rules, kSamples);
    reading.info().numTrials = reading.info().numChannels = 1;
    reading.markDestination({0});
    std::filesystem::resize_file(reading.directory.path() / "run.ds" / "run.meg4",
                                 (std::uintmax_t{1} << 32) + 16);
    EXPECT_EQ(run(reading), 1) << name;
    EXPECT_EQ(reading.codes(), "meg4.wrapped") << name;
    const CMEGDatazk& data = reading.data.numStoredTrials() > 0 ? reading.data : reading.destination;
    const double* sums = data.trialSums(0);
    const std::int32_t* values = data.trialSamples(0);
    ASSERT_TRUE(sums != nullptr || values != nullptr) << name;
    for (const int i : {0, 1, 2})
      EXPECT_EQ(sums != nullptr ? sums[i] : values[i], (std::array{5, 6, 0})[static_cast<std::size_t>(i)])
          << name;
  };
  const CMarkerDatazk marker = markerIn({0});
  expectWrapped("T", [](Importers& i) { return i.readCtfDataT(i.path); });
  expectWrapped("Trigger", [&](Importers& i) { return i.readCtfDataTrigger(i.path, &marker); });
  expectWrapped("MultiTrial",
                [](Importers& i) { return i.readCtfDataMultiTrial(i.path, &i.data, &i.destination); });
  expectWrapped("Accumulate",
                [](Importers& i) { return i.readCtfDataAccumulate(i.path, &i.destination, 1); });
  // By host rules the sum of bytes wraps too, and the set is then too short to begin with.
  expectWrapped(
      "Average", [](Importers& i) { return i.readCtfDataAverage(i.path, &i.destination); },
      hostBut(&ReadingRules::filesAreOneSequence));
}

TEST(Importers, NarrowByteCountsWrapByRule) {
  // 5 GiB in one sparse file: counted in 32 bits that is 1 GiB, too little, and a second file is looked for.
  constexpr std::int32_t kSamples = 5 << 20;
  constexpr int kTrials = 256;
  D dataset;
  dataset.sampleFiles = {D::sampleFile({})};
  Import reading(dataset, kTrials, 1, kSamples);
  std::filesystem::resize_file(reading.directory.path() / "run.ds" / "run.meg4",
                               8 + std::uintmax_t{kTrials} * kSamples * sizeof(std::int32_t));
  const SampleCounts counts{kTrials, 1, kSamples};
  const CString prefix = CBasicReadUnix2Window::getFilePathBasic(reading.path);
  const auto opens = [&](const ReadingRules& rules, AvailableBytes available) {
    return openSampleFiles(prefix, counts, rules, available) != nullptr;
  };
  EXPECT_TRUE(opens(ReadingRules::host(), AvailableBytes::wide));
  EXPECT_FALSE(opens(ReadingRules::host(), AvailableBytes::narrow));
  EXPECT_EQ(reading.codes(), "file.notFound");
  EXPECT_TRUE(opens(hostBut(&ReadingRules::wideCounts), AvailableBytes::narrow));
  EXPECT_EQ(reading.readCtfDataSelected(reading.path, 0, 9), 0) << "counts so";
  CMEGDatazk destination;
  const CMarkerDatazk marker = markerIn({0});
  destination.getTrigManager()->copyNewTrigType(&marker, false);
  EXPECT_EQ(reading.readCtfDataAverage(reading.path, &destination), 0) << "and so";
}

}  // namespace
