#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <random>

#include "recording/open_recording.h"
#include "simulate/dataset.h"
#include "support/temporary_directory.h"
#include "support/test_store.h"

#include <ctfmeg/compensation.h>
#include <ctfmeg/low_pass.h>
#include <ctfmeg/processing.h>

// What is read of the files for a window, and that its values are right whatever happens meanwhile.

namespace {

using namespace ctfmeg;

std::size_t valuesOf(const Window& window) {
  return static_cast<std::size_t>(window.trials * window.channels * window.samples);
}

/// The values of a window; nothing after them may be written.
template <class Value>
std::vector<Value> read(const SampleSource& source, const Window& window, Values as = Values::raw) {
  constexpr Value kUntouched = 12345;
  std::vector<Value> out(valuesOf(window) + 1, kUntouched);
  if constexpr (std::is_same_v<Value, std::int32_t>)
    source.read(window, out);
  else
    source.read(window, out, as);
  EXPECT_EQ(out.back(), kUntouched);
  out.pop_back();
  return out;
}

/// How many values of a window are not what `expected` has for their trial, channel and sample; NaN: missing.
template <class Value, class Expected>
int wrongValues(const SampleSource& source, const Window& window, Expected expected,
                Values as = Values::raw) {
  const auto values = read<Value>(source, window, as);
  int wrong = 0;
  auto value = values.begin();
  for (std::int64_t t = window.trial; t < window.trial + window.trials; ++t)
    for (int c = window.channel; c < window.channel + window.channels; ++c)
      for (std::int64_t s = 0; s < window.samples; ++s, ++value) {
        const double wanted = expected(t, c, window.first + s * window.step);
        wrong += std::isnan(wanted) ? *value == *value : *value != static_cast<Value>(wanted);
      }
  return wrong;
}

/// What is stored, of a source that selects every `step`th sample.
auto storedIn(const TestStore& store, int step = 1) {
  return [&store, step](auto trial, int channel, auto sample) -> double {
    return store.value(trial, channel, step * sample);
  };
}

TEST(Windows, OpeningReadsNoSamples) {
  const auto store = std::make_shared<TestStore>(3, 100, std::vector{4, 4, 1});
  store->files["BadChannels"] = {"MLC12\n", 6};
  const Recording recording = openRecording(store, "run");
  EXPECT_EQ(store->counts["BadChannels"].bytes, 6U);
  EXPECT_EQ(store->takeCounts().opens, 0);
  EXPECT_EQ(recording.sampleFiles().trialsThere, 9);
  EXPECT_EQ(store->takeCounts().bytes, 3 * 8U);
  for (const unsigned reads : {9 * 2U, 0U}) {  // once
    const auto gaps = recording.timeline().gaps;
    ASSERT_EQ(gaps.size(), 2U);
    EXPECT_EQ(gaps[1].afterTrial, 5);
    EXPECT_EQ(gaps[1].samples, 7);
    EXPECT_EQ(store->takeCounts().bytes, reads * 4);
  }
}

TEST(Windows, ReadLittleMoreThanIsWanted) {
  const auto longer = std::make_shared<TestStore>(300, 60'000, std::vector{2});
  const auto shorter = std::make_shared<TestStore>(300, 60, std::vector{40, 20});
  const auto huge = std::make_shared<TestStore>(300, 100'000, std::vector<int>(12, 14));  // 20 GB
  const Selection run{.continuous = true, .gaps = Gaps::cut};
  Selection everySecond{.channels = {{}}};
  for (int c = 0; c < 300; c += 2)
    everySecond.channels->push_back("MLC" + std::to_string(11 + c));
  const struct Case {
    const char* name;
    std::shared_ptr<TestStore> store;
    Selection selection;
    Window window;
    int reads;
    std::uint64_t samples;  // that are read
  } cases[]{
      {"a little of 20 GB", huge, {}, {167, 1, 0, 300, 99'400, 600}, 300, 300 * 600},
      {"a second of all channels", longer, {}, {1, 1, 0, 300, 5000, 600}, 300, 300 * 600},
      {"one channel", longer, {}, {0, 1, 150, 1, 0, 60'000}, 1, 60'000},
      {"two, too much for one read", longer, {}, {0, 1, 7, 2, 0, 60'000}, 2, 120'000},
      {"every 10th sample", longer, {.step = 2}, {1, 1, 7, 1, 3, 5900, 5}, 1, 58'991},
      {"a few of many", longer, {}, {0, 1, 7, 2, 0, 12, 5000}, 24, 24},
      {"one of 60 trials", shorter, {}, {17, 1, 0, 300, 0, 60}, 1, 18'000},
      {"trials of two files", shorter, {}, {38, 3, 0, 300, 0, 60}, 2, 54'000},
      {"every second channel", shorter, everySecond, {3, 2, 0, 150, 0, 60}, 300, 18'000},
      {"little between", shorter, {}, {3, 1, 0, 300, 0, 55}, 1, 300 * 55 + 299 * 5},
      {"too much between", shorter, {}, {3, 1, 0, 300, 0, 54}, 300, 300 * 54},
      {"channels of a run", shorter, run, {0, 1, 9, 2, 90, 60}, 4, 120},
      {"all of a run", shorter, run, {0, 1, 0, 300, 0, 3600}, 11 + 6, 1'080'000},
  };
  for (const Case& c : cases) {
    const auto source = openRecording(c.store, "run").samples(c.selection);
    std::vector<float> out(valuesOf(c.window));
    c.store->takeCounts();
    source->read(c.window, out);
    const TestStore::Counts counts = c.store->takeCounts();
    EXPECT_EQ(counts.bytes, c.samples * 4) << c.name;
    EXPECT_EQ(counts.reads, c.reads) << c.name;
    EXPECT_LE(counts.opens, 2) << c.name;
  }
}

/// Compares windows of a source with all of it.
void compareWindows(const SampleSource& source, const std::string& name, const std::vector<Values>& forms) {
  const Shape shape = source.shape();
  std::mt19937_64 random(20261122);
  const auto below = [&](std::int64_t count) {
    return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(count));
  };
  const Window all{.trials = shape.trials, .channels = shape.channels, .samples = shape.samples};
  for (const Values as : forms) {
    const auto whole = read<double>(source, all, as);
    const auto inWhole = [&](auto trial, int channel, auto sample) {
      return whole[static_cast<std::size_t>((trial * shape.channels + channel) * shape.samples + sample)];
    };
    for (int i = 0; i < 20; ++i) {
      Window window{.trial = below(shape.trials), .channel = static_cast<int>(below(shape.channels))};
      window.trials = 1 + below(std::min<std::int64_t>(shape.trials - window.trial, 3));
      window.channels = static_cast<int>(1 + below(shape.channels - window.channel));
      window.first = i % 4 == 0 ? 0 : below(shape.samples);
      window.step = i % 3 == 0 ? 1 : 1 + below(i % 3 == 1 ? 12 : 6000);
      const std::int64_t most = (shape.samples - 1 - window.first) / window.step + 1;
      window.samples = i % 2 == 0 ? most : 1 + below(std::min<std::int64_t>(most, 50));
      SCOPED_TRACE(name + ", window " + std::to_string(i));
      const auto wrongAs = [&](auto value) {
        return wrongValues<decltype(value)>(source, window, inWhole, as);
      };
      const bool asWhole = i % 5 == 4 && as == Values::raw && !source.hasMissing();
      ASSERT_EQ(asWhole ? wrongAs(std::int32_t{}) : i % 5 < 2 ? wrongAs(double{}) : wrongAs(float{}), 0);
    }
  }
}

/// Compares windows of many selections of trials that have so many samples with the selections as a whole,
/// which arrays_test.py compares with the files.
void compareWindows(int samples) {
  const auto store = std::make_shared<TestStore>(6, samples, std::vector{3, 2, 2});
  store->files["run.2_meg4"].size -= 4 * (2 * static_cast<std::uint64_t>(samples) - 100);
  const Recording recording = openRecording(store, "run");
  const std::pair<const char*, Selection> cases[]{
      {"all", {}},
      {"trials, span and step", {.trials = {{4, 1, 2}}, .samples = {{100, samples - 10}}, .step = 3}},
      {"pieces of channels", {.pieces = 3, .step = 2, .channels = {{"MLC12", "MLC15", "MLC16"}}}},
      {"run, gaps cut", {.continuous = true, .gaps = Gaps::cut}},
      {"run, gaps filled",
       {.continuous = true, .gaps = Gaps::fill, .samples = {{2 * samples - 9, INT64_MAX}}, .step = 3}},
      {"partial, filled", {.partial = Partial::fill}},
      {"partial in a run",
       {.trials = {{5, 6}}, .continuous = true, .gaps = Gaps::fill, .partial = Partial::fill}},
  };
  for (const auto& [name, selection] : cases) {
    const auto source = recording.samples(selection);
    if (source->hasMissing()) {
      EXPECT_THROW(read<std::int32_t>(*source, {}), std::invalid_argument) << name;
    }
    compareWindows(*source, name, {Values::raw, Values::physical});
  }
}

TEST(Windows, HoldTheValuesOfTheirSelections) {
  compareWindows(1'001);   // many blocks are read at once
  compareWindows(70'001);  // a block is more than that
}

TEST(Windows, HoldTheValuesOfTheirCompensation) {
  TemporaryDirectory directory;
  simulate::Options options;
  options.channels = 24;
  options.trials = 4;
  options.samples = 30'000;  // many times what is compensated at once
  simulate::writeDataset(directory.path() / "a.ds", options);
  const Recording recording = Recording::open(directory.path() / "a.ds");
  const auto stored = recording.samples(), third = compensated(recording, {}, 3);
  compareWindows(*third, "third order", {Values::physical});
  EXPECT_THROW(read<double>(*third, {.samples = 1}, Values::raw), std::invalid_argument);
  EXPECT_THROW(read<std::int32_t>(*third, {.samples = 1}), std::invalid_argument);
  EXPECT_THROW(compensated(recording, {}, 4), std::invalid_argument);
  const auto weights = compensationWeights(recording, 3);
  EXPECT_GT(weights.size(), 5U);
  for (const auto& [channel, references] : weights) {
    const auto valueOf = [](const SampleSource& source, int number) {
      return read<double>(source, {.channel = number, .first = 4999, .samples = 1}, Values::physical).front();
    };
    double expected = valueOf(*stored, channel);
    for (const ReferenceWeight& weight : references)
      expected -= weight.tesla * valueOf(*stored, weight.reference);
    EXPECT_NEAR(valueOf(*third, channel), expected, 1e-24);
    EXPECT_EQ(third->channels()[static_cast<std::size_t>(channel)].gradientOrder, 3);
  }
}

TEST(Windows, HoldTheValuesOfEpochsLessTheirBaseline) {
  const Recording recording =
      openRecording(std::make_shared<TestStore>(6, 12'001, std::vector{3, 2, 2}), "run");
  const double rate = recording.record().sampleRate;
  Epoching around{.occurrences = {{"a", 0, 4'000, 0.0}, {"b", 2, 5'500, 0.0}, {"a", 2, 5'600, 0.0}},
                  .from = -3'000 / rate,
                  .to = 5'003 / rate};
  around.baseline = {-1'001 / rate, 200 / rate};
  for (const int step : {1, 5})
    compareWindows(*processed(recording, {.step = step}, {.epochs = around}).source,
                   "step " + std::to_string(step), {Values::physical});
  compareWindows(*averaged(processed(recording, {}, {.epochs = around}).source), "average",
                 {Values::physical});
  // With the whole baseline in it, and not from the first sample on.
  const auto source = processed(recording, {}, {.epochs = around}).source;
  const auto whole = read<double>(*source, {.samples = source->shape().samples}, Values::physical);
  const auto part = read<double>(*source, {.first = 1'000, .samples = 4'000}, Values::physical);
  EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + 1'000));
}

TEST(Windows, HoldTheValuesOfTheirLowPass) {
  const auto store = std::make_shared<TestStore>(6, 12'001, std::vector{3, 2, 2});
  store->files["run.2_meg4"].size -= 4 * (12'001 + 100);
  const Recording recording = openRecording(store, "run");
  Selection run{.continuous = true, .gaps = Gaps::cut};
  const auto trials = recording.samples(), gapless = recording.samples(run);
  for (const int factor : {2, 7, 50}) {
    const std::string by = " by " + std::to_string(factor);
    compareWindows(*lowPassed(trials, factor, 2), "trials" + by, {Values::physical});
    compareWindows(*lowPassed(gapless, factor), "gaps cut" + by, {Values::physical});
  }
  run.gaps = Gaps::fill;
  run.partial = Partial::fill;
  compareWindows(*lowPassed(recording.samples(run), 7), "gaps filled", {Values::physical});
  std::vector<double> some(2);
  store->takeCounts();
  lowPassed(trials, 7)->read({.trial = 1, .channel = 2, .first = 10'000, .samples = 2, .step = 7}, some);
  EXPECT_EQ(store->takeCounts().bytes, 4 * (2 * 13 * 7 + 7 + 1));
  lowPassed(trials, 7)->read({.trial = 1, .channel = 2, .first = 30, .samples = 2, .step = 9'000}, some);
  EXPECT_EQ(store->takeCounts().bytes, 4 * (13 * 7 + 30 + 1 + 2 * 13 * 7 + 1));

  EXPECT_THROW(read<double>(*lowPassed(trials, 2), {.samples = 1}, Values::raw), std::invalid_argument);
  EXPECT_THROW(read<std::int32_t>(*lowPassed(trials, 2), {.samples = 1}), std::invalid_argument);
  EXPECT_THROW(lowPassed(trials, 0), std::invalid_argument);
  EXPECT_EQ(lowPassed(trials, 1), trials);
  EXPECT_THROW(lowPassed(recording.samples({.samples = {{0, 25}}}), 2), Error);
  EXPECT_NO_THROW(lowPassed(recording.samples({.samples = {{0, 26}}}), 2));
  run = {.continuous = true, .gaps = Gaps::cut, .samples = {{1000, INT64_MAX}}};
  EXPECT_NO_THROW(lowPassed(recording.samples(run), 12'000 / 13)) << "trials that adjoin are one stretch";
  run.samples = {{3 * 12'001 - 500, INT64_MAX}};
  try {
    lowPassed(recording.samples(run), 100);
    ADD_FAILURE() << "there are 500 samples before the gap";
  } catch (const Error& error) {
    EXPECT_EQ(error.text(),
              "has only 500 samples in a row from sample 0 on, and decimation by 100 needs 1301");
  }
}

TEST(Windows, OutsideTheShapeAreRefused) {
  const auto store = std::make_shared<TestStore>(3, 100, std::vector{4});
  constexpr std::int64_t kMost = INT64_MAX;
  const auto source = openRecording(store, "run").samples({.step = 2});  // 50 samples
  std::vector<double> out(4 * 3 * 50);
  for (const Window& window :
       {Window{4, 1, 0, 3, 0, 50}, Window{-1, 2, 0, 3, 0, 50}, Window{kMost, kMost, 0, 1, 0, 1},
        Window{0, 1, INT32_MAX, INT32_MAX, 0, 1}, Window{0, 1, 0, 1, -1, 1}, Window{0, 1, 0, 1, kMost, kMost},
        Window{0, 1, 0, 1, 1, 8, 8}, Window{0, 1, 0, 1, 0, 2, kMost}, Window{0, 1, 0, 1, 0, 1, 0},
        Window{0, -1, 0, 1, 0, 1}, Window{0, 1, 0, 1, 0, kMost}})
    EXPECT_THROW(source->read(window, out), std::out_of_range) << testing::PrintToString(window);
  EXPECT_EQ(wrongValues<double>(*source, {3, 1, 0, 3, 0, 8, 7}, storedIn(*store, 2)), 0);
  EXPECT_EQ(wrongValues<double>(*source, {3, 1, 0, 3, 1, 1, kMost}, storedIn(*store, 2)), 0)
      << "one has no step";
}

TEST(Windows, NeedSomethingToBeIn) {
  const Recording empty = openRecording(std::make_shared<TestStore>(3, 0, std::vector{4}), "run");
  EXPECT_EQ(empty.sampleFiles().count, 0);
  EXPECT_THROW(empty.samples(), Error);
  const Recording recording = openRecording(std::make_shared<TestStore>(3, 100, std::vector{4}), "run");
  Selection run{.continuous = true, .gaps = Gaps::fill, .step = 1'000'000};
  EXPECT_EQ(recording.record(run).sampleRate, recording.samples(run)->sampleRate());
  run.samples = {{301, 304}};
  EXPECT_EQ(recording.samples(run)->origin(0).fileTrial, -1) << "all of it is missing";
  const auto withClock = [](double gain) {
    const auto store = std::make_shared<TestStore>(3, 100, std::vector{60});
    std::string& header = store->files["run.res4"].front;
    header.replace(header.rfind(Bytes().f64(600.0).str()), 8, Bytes().f64(gain).str());
    return openRecording(store, "run");
  };
  EXPECT_FALSE(withClock(1e-320).timeline().trialsAdjoin) << "its gaps are no numbers";
  const double large = recording.record().sampleRate * 20 / (1LL << 40);
  EXPECT_THROW(withClock(large).samples({.continuous = true, .gaps = Gaps::fill}), Error)
      << "its gaps are more together than can be counted";
}

TEST(Windows, FailedReadsAreErrorsAndTheNextOnesWork) {
  const auto store = std::make_shared<TestStore>(3, 30'000, std::vector{3, 2});
  const auto source = openRecording(store, "run", {.threads = 4}).samples();
  std::atomic<int> reads = 0, failing = 0;
  bool isShort = false;
  store->hook = [&](const File& file, std::size_t bytes) {
    if (reads++ != failing) return bytes;
    if (!isShort) throw FileError(FileError::Cause::hardIO, EIO, file.path());
    return bytes - 1;
  };
  const auto fileOfError = [&](const Window& window) {
    std::vector<std::int32_t> out(valuesOf(window));
    try {
      source->read(window, out);
    } catch (const Error& error) {
      return error.path().filename().string();
    }
    return std::string("none");
  };
  const Window little{3, 1, 0, 3, 100, 10}, all{0, 5, 0, 3, 0, 30'000};  // which several threads share
  for (const Window& window : {little, all})
    for (const bool shortRead : {true, false}) {
      isShort = shortRead;
      reads = 0;
      failing = -1;
      ASSERT_EQ(wrongValues<std::int32_t>(*source, window, storedIn(*store)), 0);
      for (int n = reads; n-- > 0;) {
        reads = 0;
        failing = n;
        const std::string file = fileOfError(window);
        EXPECT_TRUE(file == "run.1_meg4" || (window.trial == 0 && file == "run.meg4")) << file << " " << n;
        ASSERT_EQ(wrongValues<std::int32_t>(*source, window, storedIn(*store)), 0) << n;
      }
    }
  store->files["run.1_meg4"].size -= 4;
  EXPECT_EQ(fileOfError(all), "run.1_meg4") << "it became shorter";
  EXPECT_EQ(wrongValues<float>(*source, {0, 5, 0, 3, 0, 29'999}, storedIn(*store)), 0) << "what is there";
}

}  // namespace
