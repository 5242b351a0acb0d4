#include <gtest/gtest.h>

#include <array>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <megreader/datamodel/imports.h>
#include <megreader/datamodel/meg_datazk.h>
#include <megreader/datamodel/sensors.h>
#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>
#include "ctf/channel_kind.h"
#include "ctf/resource_file.h"
#include "support/allocations.h"
#include "support/temporary_directory.h"
#include "tables/dump.h"

namespace {

constexpr std::array<std::int32_t, 6> kSamples{1, -2, 3, 40, -50, 60};
const ImportPlan kPlan{.unit = ImportUnit::trial, .trials = 3, .channels = 2, .samples = 3, .unitValues = 6};

/// A data object with something in each of its layers.
struct Filled : Probe {
  Filled() : Probe(ReadingRules::plain()) {
    const CString path = writeDataset({});
    std::string coils;
    for (const char* coil : {"nasion", "left ear", "right ear"})
      coils += std::string("measured ") + coil + " coil position relative to dewar\nx = 1\ny = 2\nz = 3\n";
    writeFile(directory.path() / "run.ds" / "run.hc", coils);
    writeFile(directory.path() / "run.ds" / "BadChannels", "STIM\n");
    writeFile(directory.path() / "run.ds" / "bad.segments", "0 0 1\n");
    writeFile(
        directory.path() / "run.ds" / "MarkerFile.mrk",
        "NUMBER OF MARKERS:\n1\nCLASSGROUPID:\n3\nNAME:\nleft\nCOMMENT:\nc\nCOLOR:\nred\nEDITABLE:\nYes\n"
        "CLASSID:\n1\nNUMBER OF SAMPLES:\n1\nLIST OF SAMPLES:\nTRIAL NUMBER, TIME FROM SYNC POINT (in "
        "seconds)\n0 0\n");
    EXPECT_EQ(readDatasetInfo(path, &data, nullptr), 1);
    EXPECT_EQ(readCtfDataT(path), 1);
    EXPECT_EQ(data.openTrial(1), 1);
    data.getHeadLocationDataset()->fiducials().push_back(std::make_unique<CFiducialzk>());
  }
};

Lines linesOf(const CMEGDatazk& data) { return Dump(data).lines(); }

std::vector<std::int32_t> samplesOf(const CMEGDatazk& data, int trial) {
  const std::int32_t* samples = data.trialSamples(trial);
  if (samples == nullptr) return {};
  return {samples, samples + data.storedChannels() * data.storedSamples()};
}

/// Changes something in each layer of what `Filled` has.
void spoil(CMEGDatazk& data) {
  CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
  info.filters[1]->params[1] = 9.0;
  info.getSensorCoefficientzk()->addCoefficientsData(1, new CCoefficientDatazk[1]);
  data.setChannelGood4Name(L"STIM", true, 0, false);
  data.getHeadLocationDataset()->fiducials()[0]->numPoints = 9;
  data.getTrigManager()->getMarker(0, false)->name = L"right";
  const ImportScope scope(data, kPlan);
  const std::array<std::int32_t, 6> zeros{};
  data.importCtfDataT(1, 2, 3, zeros.data());
}

TEST(DataModel, CopiesShareNothingWithTheirOriginal) {
  Filled original, other;
  const Lines expected = linesOf(original.data);
  CMEGDatazk copy(original.data);
  CMEGDatazk& assigned = other.data;
  spoil(assigned);
  EXPECT_NE(linesOf(assigned), expected);
  assigned = original.data;
  EXPECT_EQ(copy.setChannelGood4Name(L"MLC11-2805", true, 0, false), 1) << "the copy's own channels";
  spoil(original.data);
  EXPECT_EQ(linesOf(copy), expected);
  EXPECT_EQ(linesOf(assigned), expected);
  const CMEGDatazk& self = assigned;
  assigned = self;
  EXPECT_EQ(linesOf(assigned), expected);
  CMEGDatazk empty;
  assigned = empty;
  EXPECT_EQ(linesOf(assigned), linesOf(empty));
}

TEST(DataModel, MarkersAreFoundByNameAndComeBackFromTheirBackup) {
  Filled filled;
  CMarkerManagerzk& manager = *filled.data.getTrigManager();
  EXPECT_EQ(manager.findMarker(L"left"), manager.getMarker(0, true));
  EXPECT_EQ(manager.findMarker(L"none"), nullptr);
  EXPECT_EQ(manager.getMarker(1, false), nullptr);
  manager.getMarker(0, false)->name = L"changed";
  manager.restoreAllBackup();
  EXPECT_EQ(manager.getMarker(0, false)->name, L"left");
}

/// Without its original, which is emptied.
void expectCopied(CMEGDatazk& original) {
  const Lines expected = linesOf(original);
  const CMEGDatazk copy(original);
  original = CMEGDatazk();
  EXPECT_EQ(linesOf(copy), expected);
}

TEST(DataModel, CopiesOfSumsAndOfSpilledSamplesAreWhole) {
  CMEGDatazk sums;
  {
    const ImportScope scope(
        sums, {.unit = ImportUnit::summedTrial, .trials = 2, .channels = 1, .samples = 2, .unitValues = 2});
    const double values[] = {0.5, -1e300};
    EXPECT_EQ(sums.setTrialDataF(1, 1, 2, values), 1);
  }
  EXPECT_EQ(linesOf(sums).at(linesOf(sums).size() - 2), "sums: 1 = 0.5 -1e+300");
  expectCopied(sums);

  const TemporaryDirectory directory;
  ImportPlan plan = kPlan;
  plan.heldBytes = 72;
  plan.memory = {.limit = 1, .spillDirectory = toWindowsPath(directory.path().string())};
  ScriptedInterface user;
  const ThreadUserInterface installed(&user);
  CMEGDatazk spilled;
  {
    const ImportScope scope(spilled, plan);
    EXPECT_EQ(spilled.importCtfDataT(1, 2, 3, kSamples.data()), 1);
  }
  ASSERT_EQ(user.findings().size(), 1U);
  expectCopied(spilled);
  ASSERT_EQ(user.findings().size(), 2U) << "a file of its own";
  EXPECT_EQ(user.findings()[1].code, "samples.spilled");
}

TEST(DataModel, MemoryThatRunsOutEndsACopyAndNothingElse) {
  const Filled original;
  const Lines expected = linesOf(original.data);
  const std::size_t before = bytesAllocated();
  int failed = 0;
  for (bool complete = false; !complete;) {
    const FailingNew failing = FailingNew::nth(failed + 1);
    try {
      const CMEGDatazk copy(original.data);
      complete = true;
    } catch (const std::bad_alloc&) {
      ++failed;
    }
  }
  EXPECT_GT(failed, 10);
  EXPECT_EQ(bytesAllocated(), before);
  EXPECT_EQ(linesOf(original.data), expected);
}

TEST(DataModel, AnOpenImportAndItsTraceStayWithTheOriginal) {
  CMEGDatazk data, target;
  ImportTrace trace, targets;
  data.setImportTrace(&trace);
  target.setImportTrace(&targets);
  const ImportScope scope(data, kPlan), own(target, kPlan);
  CMEGDatazk copy(data);
  EXPECT_EQ(copy.importCtfDataT(0, 2, 3, kSamples.data()), 0);
  EXPECT_TRUE(trace.calls.empty());
  EXPECT_EQ(data.importCtfDataT(0, 2, 3, kSamples.data()), 1);
  target = data;
  EXPECT_EQ(target.importCtfDataT(1, 2, 3, kSamples.data()), 0) << "assigning ends the import";
  EXPECT_EQ(targets.calls.size(), 1U) << "but not the trace";
  EXPECT_EQ(samplesOf(target, 0), (std::vector<std::int32_t>(kSamples.begin(), kSamples.end())));
  EXPECT_EQ(trace.calls.size(), 1U);
}

TEST(DataModel, HostsImportWhatThePlanSaysAndNothingElse) {
  CMEGDatazk data;
  EXPECT_EQ(data.importCtfDataT(0, 2, 3, kSamples.data()), 0) << "no import is open";
  {
    ImportPlan plan = kPlan;
    plan.parts = 0;
    const ImportScope refused(data, plan);
    EXPECT_FALSE(refused.ready());
    EXPECT_EQ(data.importCtfDataT(0, 2, 3, kSamples.data()), 0);
  }
  {
    const ImportScope scope(data, {.unit = ImportUnit::splitTrial,
                                   .trials = 4,
                                   .channels = 1,
                                   .samples = 3,
                                   .unitValues = 6,
                                   .parts = 2});
    EXPECT_EQ(data.importCtfDataTsplit(1, 2, 1, 6, 3, nullptr), 0);
    EXPECT_EQ(data.importCtfDataTsplit(1, 2, 1, 6, 3, kSamples.data()), 1);
    EXPECT_EQ(data.importCtfDataTsplit(2, 2, 1, 6, 3, kSamples.data()), 0);
    EXPECT_EQ(data.importCtfDataC(0, 0, 3, kSamples.data()), 0) << "of another unit";
  }
  EXPECT_EQ(samplesOf(data, 3), (std::vector<std::int32_t>{40, -50, 60}));
  EXPECT_EQ(data.trialOrigin(3).firstSample, 3);
  EXPECT_EQ(data.numStoredTrials(), 2);
  {
    ImportPlan plan = kPlan;
    plan.unitValues = 0;
    const ImportScope scope(data, plan);
    EXPECT_EQ(data.importCtfDataT(0, 2, 3, nullptr), 0);
    EXPECT_EQ(data.importCtfDataT(0, 2, 3, kSamples.data()), 1);
  }
  EXPECT_EQ(samplesOf(data, 0), std::vector<std::int32_t>(6)) << "nothing was brought";
}

TEST(DataModel, NamesTheTypesThatTheFileCounts) {
  std::istringstream expected(
      "ref-magnetometer ref-gradiometer ref-gradiometer ref-gradiometer magnetometer gradiometer gradiometer "
      "gradiometer eeg-ref eeg adc stim clock position dac other other clock adc stim stim eeg eeg reset "
      "other other other other other other other");
  std::string name;
  for (std::int32_t index = 0; expected >> name; ++index) {
    EXPECT_EQ(toUtf8(sensorTypeName(ctfmeg::sensorTypeOf(index))), name) << index;
    EXPECT_EQ(nameOf(ctfmeg::kindOf(ctfmeg::sensorTypeOf(index))), name) << index;
  }
  EXPECT_EQ(toUtf8(sensorTypeName(-1)), "other");
  CMagCoil coil;
  coil.position = {0.5, -1.0, 2.0, 9.0};
  EXPECT_EQ(coil.convertCTFm2zkCm(), 1);
  EXPECT_EQ(std::vector(coil.position.begin(), coil.position.end()), (std::vector{50.0, -100.0, 200.0, 9.0}));
}

}  // namespace
