#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <random>

#include "check_host/check_host.h"
#include "recording/physical.h"
#include "signal/block.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/recording.h>

namespace {

using namespace ctfmeg;
using D = MinimalDataset;
namespace fs = std::filesystem;

/// Kind, file and text of the error that it ends in.
template <class Operation>
std::string errorOf(Operation operation) {
  try {
    operation();
  } catch (const Error& error) {
    return std::string(nameOf(error.kind())) + " | " + error.path().filename().string() + " | " +
           error.text();
  }
  return "none";
}

std::string errorOfReading(const fs::path& path, const OpenOptions& options = {}) {
  return errorOf([&] { Recording::open(path, options).read(); });
}

std::string errorAsHost(const fs::path& path, const Selection& selection = {}) {
  return errorOf([&] { readAsHost(path, selection, {}); });
}

TEST(Recording, HasSamplesUnitsAndTimes) {
  TemporaryDirectory directory;
  D().write(directory.path());
  const Recording recording = Recording::open(directory.path() / "run.ds");
  EXPECT_EQ(recording.name(), "run");
  const Trial trial = recording.trial(1);
  EXPECT_EQ(trial.raw(1)[2], D::value(1, 1, 2));
  const Trial alone = [&] { return Recording::open(directory.path() / "run.ds").trial(0); }();
  EXPECT_EQ(alone.raw()[5], D::value(0, 1, 2)) << "trials keep their samples alive";
  std::vector<double> physical(3);
  EXPECT_EQ(trial.physical(0, physical), 3u);
  EXPECT_EQ(physical[2], 1002 / (-2.0e9 * 1048576.0));
  EXPECT_DOUBLE_EQ(trial.time(2), 1 / 600.0);

  EXPECT_THROW(recording.samples({.samples = SampleSpan{2, INT64_MIN}}), Error);
  EXPECT_THROW(recording.samples({.samples = SampleSpan{INT64_MAX, 2}}), Error);
  EXPECT_THROW(recording.trial(2), std::out_of_range);
  EXPECT_THROW(trial.raw(2), std::out_of_range);
  EXPECT_THROW(trial.raw(-1), std::out_of_range);
  EXPECT_THROW(trial.time(3), std::out_of_range);
}

TEST(Recording, ReadsAnyWindowUnderBothRules) {
  TemporaryDirectory directory;
  const fs::path run = D().write(directory.path());
  const auto plain = Recording::open(run).samples(), host = readAsHost(run, {}, {}).samples;
  for (const Window& window : {Window{0, 2, 0, 2, 0, 3}, Window{0, 2, 0, 2, 1, 2}, Window{1, 1, 1, 1, 2, 1},
                               Window{2, 0, 0, 2, 0, 3}}) {
    const auto room = static_cast<std::size_t>(window.trials * window.channels * window.samples);
    const auto valuesIn = [&](const SampleSource& source, auto values) {
      source.read(window, values);
      return values;
    };
    EXPECT_EQ(valuesIn(*host, std::vector<int>(room)), valuesIn(*plain, std::vector<int>(room)));
    EXPECT_EQ(valuesIn(*host, std::vector<double>(room)), valuesIn(*plain, std::vector<double>(room)));
  }
  for (const auto& source : {plain, host}) {
    EXPECT_DOUBLE_EQ(source->time(1, 2), 1 / 600.0);
    std::vector<std::int32_t> out(11);
    for (const Window& outside :
         {Window{1, 2, 0, 1, 0, 1}, Window{0, 1, 1, 2, 0, 1}, Window{0, 1, 0, 1, 1, 3},
          Window{0, 1, -1, 1, 0, 1}, Window{0, 1, 0, 1, INT64_MAX, INT64_MAX}})
      EXPECT_THROW(source->read(outside, out), std::out_of_range);
    EXPECT_THROW(source->origin(2), std::out_of_range);
    EXPECT_THROW(source->time(0, 3), std::out_of_range);
    EXPECT_THROW(source->read({0, 2, 0, 2, 0, 3}, out), std::invalid_argument) << "12 values";
  }
}

TEST(Recording, SaysWhatAndWhere) {
  TemporaryDirectory directory;
  const fs::path run = directory.path() / "run.ds";
  D noSamples;
  noSamples.sampleFiles = {};
  noSamples.write(directory.path());
  const std::string notFound = std::system_category().message(ENOENT);
  const Recording opened = Recording::open(run);
  EXPECT_EQ(opened.channels().size(), 2u) << "opening touches no samples";
  EXPECT_EQ(errorOfReading(run), "notFound | run.meg4 | can't be read: " + notFound);
  EXPECT_EQ(resolveDataset(run / "").filename(), "run.res4");
#ifndef _WIN32
  fs::rename(run / "run.res4", run / "a\\b.res4");
  EXPECT_EQ(errorOf([&] { Recording::open(run / "a\\b.res4"); }), "none");
  EXPECT_TRUE(errorAsHost(run / "a\\b.res4").starts_with("refused | a\\b.res4 | holds a backslash"));
#endif
}

#ifndef _WIN32
// Windows gives files no number that costs nothing to know.
TEST(Recording, NoticesFilesThatWereExchanged) {
  TemporaryDirectory directory;
  D().write(directory.path());
  const fs::path samples = directory.path() / "run.ds" / "run.meg4";
  const Recording recording = Recording::open(directory.path() / "run.ds");
  EXPECT_EQ(recording.sampleFiles().trialsThere, 2);
  fs::copy_file(samples, directory.path() / "other");
  fs::rename(directory.path() / "other", samples);
  EXPECT_EQ(errorOf([&] { recording.trial(0); }),
            "damaged | run.meg4 | is another file than when its recording was opened");
}
#endif

TEST(Recording, AsksAndStopsAsTheCallerWants) {
  TemporaryDirectory directory;
  const fs::path run = D().write(directory.path()).parent_path();
  writeFile(run / "run.txt", "");
  OpenOptions options;
  std::vector<std::string> questions;
  options.answer = [&](const std::string& question) {
    questions.push_back(question);
    return true;
  };
  EXPECT_EQ(Recording::open(run / "run.txt", options).read().size(), 2u);
  EXPECT_EQ(questions.size(), 1u);
  EXPECT_EQ(readAsHost(run / "run.txt", {}, options).samples->shape().trials, 2);
  EXPECT_EQ(questions.size(), 2u);
  EXPECT_TRUE(errorAsHost(run / "run.txt").starts_with("refused | run.txt"));

  std::vector<double> fractions;
  const auto atMostOnce = [&](const Progress& progress) {
    fractions.push_back(progress.fraction);
    return fractions.size() < 2;
  };
  EXPECT_TRUE(errorOf([&] { Recording::open(run).read({}, atMostOnce); }).starts_with("stopped"));
  EXPECT_EQ(fractions, (std::vector{0.0, 1.0}));
  fractions.clear();
  EXPECT_TRUE(errorOf([&] { readAsHost(run, {}, {}, atMostOnce); }).starts_with("stopped"));
  EXPECT_EQ(fractions, (std::vector{0.0, 0.5}));
}

TEST(Recording, TheRealOneHasItsHeadInPlace) {
  if (!fs::exists(REAL_RECORDING)) GTEST_SKIP() << "the real recording is not here";
  const Recording plain = Recording::open(REAL_RECORDING);
  const Fiducials& fiducials = plain.fiducials();
  ASSERT_TRUE(fiducials.dewarMeasured && fiducials.headMeasured && fiducials.dewarToHead);
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
  const Trial trial = plain.trial(1);
  std::vector<std::int32_t> values(trial.raw().size());
  readAsHost(REAL_RECORDING, {}, {}).samples->read({1, 1, 0, 356, 0, 1201}, values);
  EXPECT_TRUE(std::ranges::equal(values, trial.raw()));
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

TEST(Statistics, OfABlockAreTheSameByEveryInstructionSet) {
  std::mt19937_64 random(20261122);
  for (int round = 0; round < 20000; ++round) {
    // Values of so many bits, about any base; some blocks have one at an end of 32 bits.
    const int bits = round % 33;
    const auto base = static_cast<std::uint32_t>(random());
    std::vector<std::int32_t> samples(1 + (round % 7 == 0 ? ctfmeg::kBlockSamples : 1 + random() % 40));
    for (std::int32_t& sample : samples)
      sample = static_cast<std::int32_t>(base + (bits == 0 ? 0 : random() >> (64 - bits)));
    if (round % 5 == 0) samples[random() % samples.size()] = round % 2 == 0 ? INT32_MAX : INT32_MIN;
    for (const bool goesOn : {false, true}) {
      const auto count = samples.size() - 1;
      ASSERT_EQ(ctfmeg::sumUp(samples.data() + 1, count, goesOn),
                ctfmeg::sumUpPlainly(samples.data() + 1, count, goesOn))
          << round;
    }
  }
  // What both say of one that is easy to see through.
  const std::vector<std::int32_t> few{7, 7, 7, 7, 4, INT32_MIN};
  const ctfmeg::Block block = ctfmeg::sumUp(few.data() + 1, 4, true);
  EXPECT_EQ(block, (ctfmeg::Block{.base = 7,
                                  .min = 4,
                                  .max = 7,
                                  .sum = -3,
                                  .squares = 9,
                                  .steps = 4,
                                  .largestStep = 3,
                                  .stepSum = 3,
                                  .repeated = 1}));
}

}  // namespace
