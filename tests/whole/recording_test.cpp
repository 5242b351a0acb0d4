#include <ctfmeg/recording.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <random>

#include "host/divide.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

namespace {

using namespace ctfmeg;
using D = MinimalDataset;
namespace fs = std::filesystem;

/// Kind and text of the error that reading ends in.
std::string errorOf(const fs::path& path, const ReadOptions& options = {}) {
  try {
    Recording::read(path, options);
  } catch (const Error& error) {
    return std::string(nameOf(error.kind())) + " | " + error.path().filename().string() + " | " +
           error.text();
  }
  return "none";
}

TEST(Recording, GivesSamplesUnitsAndTimes) {
  TemporaryDirectory directory;
  D().write(directory.path());
  const Recording recording = Recording::read(directory.path() / "run.ds");
  EXPECT_EQ(recording.name(), "run");
  EXPECT_EQ(recording.trialNumbers(), (std::vector{0, 1}));
  const Trial trial = recording.trial(1);
  EXPECT_EQ(trial.channels(), 2);
  ASSERT_EQ(trial.samples(), 3);
  EXPECT_EQ(trial.raw(1)[2], D::value(1, 1, 2));
  std::vector<double> physical(3);
  EXPECT_EQ(trial.physical(0, physical), 3u);
  EXPECT_EQ(physical[2], 1002 / (-2.0e9 * 1048576.0));
  EXPECT_EQ(trial.origin().fileTrial, 1);
  EXPECT_DOUBLE_EQ(trial.time(0), -1 / 600.0);
  EXPECT_DOUBLE_EQ(trial.time(2), 1 / 600.0);

  EXPECT_THROW(recording.trial(2), std::out_of_range);
  EXPECT_THROW(trial.raw(2), std::out_of_range);
  EXPECT_THROW(trial.raw(-1), std::out_of_range);
  EXPECT_THROW(trial.time(3), std::out_of_range);
}

TEST(Recording, TrialsKeepTheirSamplesAlive) {
  TemporaryDirectory directory;
  D().write(directory.path());
  const auto trial = [&] { return Recording::read(directory.path() / "run.ds").trial(0); }();
  EXPECT_EQ(trial.raw()[5], D::value(0, 1, 2));
}

TEST(Recording, HeaderOnlyTouchesNoSamples) {
  TemporaryDirectory directory;
  D dataset;
  dataset.sampleFiles = {};
  dataset.write(directory.path());
  ReadOptions options;
  options.samples = false;
  const Recording recording = Recording::read(directory.path() / "run.ds", options);
  EXPECT_TRUE(recording.trialNumbers().empty());
  EXPECT_EQ(recording.channels().size(), 2u);
  EXPECT_THROW(recording.trial(0), std::out_of_range);
}

TEST(Recording, FindsTheResourceFileOfADirectory) {
  TemporaryDirectory directory;
  const fs::path dataset = directory.path() / "run.ds";
  D().write(directory.path());
  EXPECT_EQ(resolveDataset(dataset), dataset / "run.res4");
  EXPECT_EQ(resolveDataset(dataset / "").filename(), "run.res4");
  writeFile(dataset / "other.res4", "");
  EXPECT_EQ(resolveDataset(dataset), dataset / "run.res4") << "its own, whatever else is there";
  fs::rename(dataset, directory.path() / "renamed.ds");
  EXPECT_EQ(
      errorOf(directory.path() / "renamed.ds"),
      "notADataset | renamed.ds | holds several CTF resource files and none is renamed.res4: name one of "
      "other.res4, run.res4");
  fs::remove(directory.path() / "renamed.ds" / "other.res4");
  EXPECT_EQ(Recording::read(directory.path() / "renamed.ds").name(), "run");
}

TEST(Recording, SaysWhatAndWhere) {
  TemporaryDirectory directory;
  const fs::path run = directory.path() / "run.ds";
  EXPECT_EQ(errorOf(run), "notFound | run.ds | can't be read: No such file or directory");
  fs::create_directory(run);
  EXPECT_EQ(
      errorOf(run),
      "notADataset | run.ds | holds no CTF resource file: looked for run.res4 and for any other *.res4");
  writeFile(run / "run.res4", "");
  EXPECT_EQ(errorOf(run), "notADataset | run.res4 | is empty");
  D cut;
  cut.res4 = Bytes().raw(cut.res4.str().substr(0, 1500));
  cut.write(directory.path());
  EXPECT_EQ(errorOf(run),
            "damaged | run.res4 | is cut short: it ends at byte 1500, within its general header");

  D noSamples;
  noSamples.sampleFiles = {};
  fs::remove(run / "run.meg4");
  noSamples.write(directory.path());
  const std::string notFound = std::system_category().message(ENOENT);
  EXPECT_EQ(errorOf(run), "notFound | run.meg4 | can't be read: " + notFound);
  writeFile(run / "run.txt", "");
  EXPECT_EQ(errorOf(run / "run.txt"), "refused | run.txt | does not look like a CTF file; not read");
#ifndef _WIN32
  writeFile(run / "a\\b.res4", "");
  EXPECT_TRUE(errorOf(run / "a\\b.res4").starts_with("refused | a\\b.res4 | holds a backslash"));
#endif
}

TEST(Recording, TurnsFileErrorsAndMessagesIntoFindings) {
  TemporaryDirectory directory;
  D dataset;
  dataset.res4.put(1340, Bytes().i16(9));
  dataset.sampleFiles = {D::sampleFile({D::trial(0, 2, 3)})};
  dataset.write(directory.path());
  const Recording recording = Recording::read(directory.path() / "run.ds");
  ASSERT_EQ(recording.warnings().size(), 2u);
  EXPECT_EQ(recording.warnings()[0].text, "Trigger format error!");
  EXPECT_EQ(recording.warnings()[1].code, "meg4.short");
  EXPECT_EQ(recording.warnings()[1].text, "ends early: 1 of 2 trials are there whole");
  EXPECT_EQ(recording.trialNumbers(), std::vector{0});

  ReadOptions hostRules;
  hostRules.rules = Rules::host;
  EXPECT_TRUE(errorOf(directory.path() / "run.ds", hostRules).starts_with("notFound | run.1_meg4"));
}

TEST(Recording, AsksAndStopsAsTheCallerWants) {
  TemporaryDirectory directory;
  const fs::path run = D().write(directory.path()).parent_path();
  writeFile(run / "run.txt", "");
  ReadOptions options;
  std::vector<std::string> questions;
  options.answer = [&](const std::string& question) {
    questions.push_back(question);
    return true;
  };
  EXPECT_EQ(Recording::read(run / "run.txt", options).trialNumbers().size(), 2u);
  EXPECT_EQ(questions.size(), 1u);

  std::vector<double> fractions;
  options.progress = [&](const Progress& progress) {
    fractions.push_back(progress.fraction);
    return fractions.size() < 2;
  };
  EXPECT_TRUE(errorOf(run, options).starts_with("stopped"));
  EXPECT_EQ(fractions, (std::vector{0.0, 0.5}));
}

/// Trial numbers in the file, first samples, samples and the time of the last one, of every trial read.
std::string routeOf(const fs::path& dataset, const Route& route, ReadOptions options = {}) {
  options.route = route;
  std::vector<double> fractions;
  options.progress = [&](const Progress& progress) {
    fractions.push_back(progress.fraction);
    return true;
  };
  const Recording recording = Recording::read(dataset, options);
  EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end())) << "the bar fills once";
  EXPECT_EQ(fractions.front(), 0.0);
  EXPECT_EQ(fractions.back(), 1.0);
  std::string text;
  for (const int number : recording.trialNumbers()) {
    const Trial trial = recording.trial(number);
    text += std::to_string(trial.origin().fileTrial) + "+" + std::to_string(trial.origin().firstSample) + ":";
    for (const std::int32_t value : trial.raw())
      text += " " + std::to_string(value);
    text += " @" + std::to_string(std::lround(trial.time(trial.samples() - 1) * 600.0)) + "\n";
  }
  return text;
}

TEST(Recording, RoutesKeepTimes) {
  TemporaryDirectory directory;
  D dataset;  // one sample before the trigger
  dataset.resize(2, 1, 5);
  const fs::path run = dataset.write(directory.path());
  EXPECT_EQ(routeOf(run, Whole{}), "0+0: 0 1 2 3 4 @3\n1+0: 1000 1001 1002 1003 1004 @3\n");
  EXPECT_EQ(routeOf(run, EveryNth{1}), routeOf(run, Whole{}));
  EXPECT_EQ(routeOf(run, EveryNth{2}), "0+0: 0 2 @1\n1+0: 1000 1002 @1\n");
  EXPECT_EQ(routeOf(run, SampleSpan{-1, 2}), "0+0: 0 1 2 @1\n1+0: 1000 1001 1002 @1\n");
  EXPECT_EQ(routeOf(run, SampleSpan{3, 1LL << 40}), "0+3: 3 4 @3\n1+3: 1003 1004 @3\n");
  EXPECT_EQ(routeOf(run, Pieces{2}), "0+0: 0 1 @0\n0+2: 2 3 @2\n1+0: 1000 1001 @0\n1+2: 1002 1003 @2\n");
  EXPECT_EQ(routeOf(run, TrialList{{1}}), "1+0: 1000 1001 1002 1003 1004 @3\n");
  EXPECT_EQ(routeOf(run, TrialList{{1, 0, 1}}), routeOf(run, Whole{}));

  const auto refused = [&](const Route& route) {
    ReadOptions options;
    options.route = route;
    return errorOf(run, options);
  };
  EXPECT_EQ(refused(SampleSpan{0, 4}),
            "refused | run.res4 | is not cut down by that span: it is a whole trial, samples 0 to 4");
  EXPECT_EQ(refused(SampleSpan{3, 2}),
            "refused | run.res4 | has no samples in that span: a trial has samples 0 to 4");
  EXPECT_EQ(refused(TrialList{{0, 2}}), "refused | run.res4 | has no trial 2: there are trials 0 to 1");
  EXPECT_EQ(refused(MarkedTrials{"tone"}), "refused | run.res4 | has no marker tone: there are none");
  EXPECT_TRUE(refused(EveryNth{0}).starts_with("refused"));
  EXPECT_TRUE(refused(Pieces{0}).starts_with("refused"));
  fs::resize_file(run.parent_path() / "run.meg4", 8 + 20);
  EXPECT_EQ(
      refused(TrialList{{0, 1}}),
      "damaged | run.res4 | does not have trial 1 whole: the set ends early: 1 of 2 trials are there whole");
  EXPECT_TRUE(refused(TrialList{}).starts_with("refused"));
}

TEST(Recording, MarkersInTrialsThatAreNotThereAreTold) {
  TemporaryDirectory directory;
  const fs::path run = D().write(directory.path());
  const auto marker = [](const std::string& name, const std::string& samples) {
    return "CLASSGROUPID:\n+3\nNAME:\n" + name +
           "\nCOMMENT:\n\nCOLOR:\nred\nEDITABLE:\nYes\nCLASSID:\n+1\nNUMBER OF SAMPLES:\n2\nLIST OF "
           "SAMPLES:\n"
           "TRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)\n" +
           samples + "\n";
  };
  writeFile(run.parent_path() / "MarkerFile.mrk", "PATH OF DATASET:\nx\nNUMBER OF MARKERS:\n2\n" +
                                                      marker("tone", "+1 0\n+5 0\n") +
                                                      marker("gone", "+7 0\n-1 0\n"));
  const Recording tone = Recording::read(run, {.route = MarkedTrials{"tone"}});
  ASSERT_EQ(tone.trialNumbers().size(), 1u);
  EXPECT_EQ(tone.trial(0).origin().fileTrial, 1);
  const auto& warnings = tone.warnings();
  const auto told = std::find_if(warnings.begin(), warnings.end(),
                                 [](const Finding& f) { return f.code == "marker.trial"; });
  ASSERT_NE(told, warnings.end());
  EXPECT_EQ(told->text, "has no trial 5, in which marker tone occurs");
  EXPECT_EQ(errorOf(run, {.route = MarkedTrials{"gone"}}),
            "refused | run.res4 | has no trial in which marker gone occurs");
}

TEST(Recording, KeepsSamplesBeyondALimitInAFileWithoutAName) {
  TemporaryDirectory directory;
  D dataset;
  dataset.resize(2, 1, 5);
  const fs::path run = dataset.write(directory.path()), folder = directory.path() / "spill";
  fs::create_directory(folder);
  ReadOptions options;
  options.memory = 1;
  options.spillFolder = folder;
  for (const Rules rules : {Rules::host, Rules::plain}) {
    options.rules = rules;
    for (const Route& route :
         std::initializer_list<Route>{Whole{}, EveryNth{2}, SampleSpan{-1, 2}, Pieces{2}, TrialList{{1}}})
      EXPECT_EQ(routeOf(run, route, options), routeOf(run, route));
    const Recording spilled = Recording::read(run, options);
    ASSERT_EQ(spilled.warnings().size(), 1U);
    EXPECT_EQ(spilled.warnings()[0].code, "samples.spilled");
    EXPECT_EQ(spilled.warnings()[0].severity, Finding::Severity::remark);
    EXPECT_EQ(fs::path(spilled.warnings()[0].file), folder);
#ifndef _WIN32  // where the name goes with the file
    EXPECT_TRUE(fs::is_empty(folder));
#endif
  }
  EXPECT_TRUE(fs::is_empty(folder));
  options.memory = 40;
  EXPECT_TRUE(Recording::read(run, options).warnings().empty()) << "just as much as may be held";
  options.memory = 39;
  options.spillFolder = directory.path() / "none";
  const std::string error = errorOf(run, options);
  EXPECT_TRUE(
      error.starts_with("outOfMemory | none | can't take the 40 bytes of samples that are more than memory "
                        "is to hold: "))
      << error;
}

TEST(Recording, ReadsTheRealRecordingByBothRules) {
  if (!fs::exists(REAL_RECORDING)) GTEST_SKIP() << "the real recording is not here";
  const Recording plain = Recording::read(REAL_RECORDING);
  const RecordInfo& record = plain.record();
  EXPECT_EQ(record.numTrials, 2);
  EXPECT_EQ(record.numChannels, 356);
  EXPECT_EQ(record.samplesPerTrial, 1201);
  EXPECT_EQ(record.sampleRate, 1200.0);
  EXPECT_EQ(record.preTrigSamples, -2400);
  EXPECT_EQ(record.dataDate, "29-Apr-2013");
  EXPECT_TRUE(plain.warnings().empty());
  ASSERT_EQ(plain.coefficients().size(), 1393u);
  const CoefficientRecord& first = plain.coefficients()[0];
  EXPECT_EQ(first.sensor, "BG1-4304");
  EXPECT_EQ(coefficientTypeName(first.type), "G1BR");
  ASSERT_EQ(first.references.size(), 8u);
  EXPECT_EQ(first.references[0].reference, "BG1-4304");
  const auto baseline = [](const Channel& channel) {
    const auto &a = channel.dewarCoils[0].positionCm, &b = channel.dewarCoils[1].positionCm;
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
  };
  int gradiometers = 0;
  for (const Channel& channel : plain.channels()) {
    if (channel.kind != ChannelKind::gradiometer) continue;
    ++gradiometers;
    EXPECT_NEAR(baseline(channel), 5.0, 0.1) << channel.name;
  }
  EXPECT_EQ(gradiometers, 273);

  const Fiducials& fiducials = plain.fiducials();
  ASSERT_TRUE(fiducials.dewarStandard && fiducials.dewarMeasured && fiducials.headMeasured);
  ASSERT_TRUE(fiducials.dewarToHead);
  const auto& nasion = *fiducials.dewarMeasured->nasionMm;  // CTF axes (y, -x, z)
  EXPECT_NEAR(nasion[1], 67.2107, 1e-9);
  EXPECT_NEAR(-nasion[0], 65.033, 1e-9);
  EXPECT_NEAR(nasion[2], -277.205, 1e-9);
  for (const auto& [name, point] : kFiducialNames) {
    const auto& dewar = (*fiducials.dewarMeasured).*point;
    const auto& head = (*fiducials.headMeasured).*point;
    ASSERT_EQ(dewar.has_value(), head.has_value()) << name;
    for (std::size_t row = 0; dewar && row < 3; ++row) {
      const auto& r = (*fiducials.dewarToHead)[row];
      EXPECT_NEAR(r[0] * (*dewar)[0] + r[1] * (*dewar)[1] + r[2] * (*dewar)[2] + r[3], (*head)[row], 0.1)
          << name;
    }
  }
  ASSERT_EQ(plain.classes().size(), 1u);
  EXPECT_EQ(plain.classes()[0].name, "BAD");
  EXPECT_EQ(plain.classes()[0].comment, "");
  EXPECT_EQ(plain.classes()[0].color, 0xFF0000u);
  EXPECT_EQ(plain.classes()[0].trials, std::vector<std::int32_t>{});
  EXPECT_TRUE(plain.markers().empty());
  EXPECT_TRUE(plain.badChannels().empty());
  const auto told = [&plain](const char* tag) { return plain.information().find(tag)->value; };
  EXPECT_EQ(std::get<std::string>(told("_PATIENT_ID")), "Anonymized4977_1448272137_0");
  EXPECT_EQ(std::get<std::int64_t>(told("_PATIENT_SEX")), 2);
  EXPECT_EQ(std::get<std::string>(told("_DATASET_SYSTEMTYPE")), "cmeg");
  EXPECT_EQ(std::get<double>(told("_DATASET_UPPERBANDWIDTH")), 300.0);
  EXPECT_EQ(std::get<std::int64_t>(told("_DATASET_MAXHEADMOTIONTRIAL")), 1);

  ReadOptions hostRules;
  hostRules.rules = Rules::host;
  const Recording host = Recording::read(REAL_RECORDING, hostRules);
  EXPECT_TRUE(host.coefficients()[0].references[0].reference.starts_with("BG1-4304@k"));
  EXPECT_NEAR(baseline(host.channels()[32]), 500.0, 10.0);
  EXPECT_TRUE(host.classes().empty());
  EXPECT_TRUE(host.fiducials().headMeasured);
  EXPECT_EQ(host.record().sensorFileName, "\x01") << "rubbish behind the zero bytes of an empty field";
  EXPECT_TRUE(std::ranges::equal(host.trial(1).raw(), plain.trial(1).raw()));
}

TEST(Recording, TrialsReadTogetherAreThoseOfTheirFiles) {
  // The first file's trials are more than are read at once, the second's fewer.
  constexpr int kSamples = 90'001, kFirst = 40, kAll = 43;
  const TemporaryDirectory directory;
  std::vector<std::vector<int>> files(2);
  for (int t = 0; t < kAll; ++t)
    files[t < kFirst ? 0 : 1].push_back(t);
  D dataset;
  dataset.resize(kAll, 2, kSamples);
  dataset.sampleFiles = D::split(files, 2, kSamples).sampleFiles;
  const auto expectTrials = [&](int trials, Rules rules) {
    const Recording recording = Recording::read(directory.path() / "run.ds", {.rules = rules});
    ASSERT_EQ(recording.trialNumbers().size(), static_cast<std::size_t>(trials));
    for (int t = 0; t < trials; ++t)
      for (int c = 0; c < 2; ++c) {
        const auto values = recording.trial(t).raw(c);
        ASSERT_EQ(values.size(), static_cast<std::size_t>(kSamples));
        for (int s = 0; s < kSamples; ++s)
          if (values[static_cast<std::size_t>(s)] != D::value(t, c, s)) FAIL() << t << " " << c << " " << s;
      }
  };
  dataset.write(directory.path());
  expectTrials(kAll, Rules::plain);
  expectTrials(kAll, Rules::host);
  dataset.sampleFiles[1].pop_back();
  dataset.write(directory.path());
  expectTrials(kAll - 1, Rules::plain);
}

TEST(Recording, PhysicalValuesAreTheNearestDoublesToTheQuotients) {
  std::mt19937_64 random(20261121);
  std::vector<std::int32_t> values{0, 1, -1, 3, INT32_MAX, INT32_MIN, INT32_MIN + 1};
  while (values.size() < 1003)
    values.push_back(static_cast<std::int32_t>(random()) >> random() % 32);
  std::vector<double> divisors{3,         -3,    0x1.fffffffffffffp0, 0x1.fffffffffffffp-901,
                               0x1p-1074, 1e300, -2.0e9 * 1048576};
  while (divisors.size() < 2000)
    divisors.push_back(std::bit_cast<double>((random() & 0x800FFFFFFFFFFFFF) | (973 + random() % 100) << 52));
  std::vector<double> quotients(values.size()), plain(values.size());
  for (const double divisor : divisors) {
    ctfmeg::divideEach(values, divisor, quotients);
    ctfmeg::divideEachPlainly(values, divisor, plain);
    ASSERT_EQ(std::memcmp(quotients.data(), plain.data(), plain.size() * sizeof(double)), 0) << divisor;
  }
}

}  // namespace
