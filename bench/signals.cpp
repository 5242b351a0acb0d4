#include <benchmark/benchmark.h>
#include <cstdlib>
#include <random>

#include <ctfmeg/compensation.h>
#include <ctfmeg/overview.h>
#include <ctfmeg/processing.h>

// What signals cost beside the samples that they are made of. The dataset is named by BENCH_DATASET.

namespace {

using ctfmeg::Recording;
using ctfmeg::SampleSource;

Recording opened(int threads = 0) {
  return Recording::open(std::getenv("BENCH_DATASET"), {.threads = threads});
}

/// Every value, a trial at a time into the same memory.
void readAll(benchmark::State& state, const SampleSource& source) {
  const ctfmeg::Shape shape = source.shape();
  std::vector<double> values(static_cast<std::size_t>(shape.channels * shape.samples));
  for (auto _ : state)
    for (std::int64_t trial = 0; trial < shape.trials; ++trial) {
      source.read({.trial = trial, .channels = shape.channels, .samples = shape.samples}, values);
      benchmark::DoNotOptimize(values.data());
    }
}

void Physical(benchmark::State& state) { readAll(state, *opened().samples()); }
void Compensated(benchmark::State& state) { readAll(state, *ctfmeg::compensated(opened(), {}, 3)); }
void Decimated(benchmark::State& state) {
  readAll(state, *ctfmeg::processed(opened(), {}, {.decimate = 4}).source);
}

/// A hundred epochs of a second in the first trial, the same ones in each process.
std::vector<ctfmeg::Occurrence> occurrences(const Recording& recording) {
  std::mt19937_64 random(1);
  const auto room = static_cast<std::uint64_t>(recording.record().samplesPerTrial - 1200);
  std::vector<ctfmeg::Occurrence> all(100);
  for (std::size_t i = 0; i < all.size(); ++i) {
    all[i].trial = static_cast<int>(i % static_cast<std::size_t>(recording.record().numTrials));
    all[i].sample = static_cast<std::int64_t>(random() % room) + 240;
  }
  return all;
}

constexpr std::int64_t kEpochSamples = 1200;

void Epochs(benchmark::State& state) {
  const Recording recording = opened();
  const double rate = recording.record().sampleRate;
  readAll(state, *ctfmeg::processed(recording, {},
                                    {.epochs = ctfmeg::Epoching{.occurrences = occurrences(recording),
                                                                .from = -240 / rate,
                                                                .to = (kEpochSamples - 241) / rate,
                                                                .baseline = {{-240 / rate, 0.0}}}})
                      .source);
}

/// The same samples as windows of trials.
void EpochBytes(benchmark::State& state) {
  const Recording recording = opened();
  const auto source = recording.samples();
  const auto all = occurrences(recording);
  std::vector<double> values(static_cast<std::size_t>(source->shape().channels * kEpochSamples));
  for (auto _ : state)
    for (const ctfmeg::Occurrence& occurrence : all) {
      source->read({.trial = occurrence.trial,
                    .channels = source->shape().channels,
                    .first = occurrence.sample - 240,
                    .samples = kEpochSamples},
                   values);
      benchmark::DoNotOptimize(values.data());
    }
}

constexpr int kPixels = 1000;

std::shared_ptr<const SampleSource> oneChannel(const Recording& recording) {
  return recording.samples({.channels = {{recording.channels().back().name}}});
}

/// By one thread, a little at a time.
void RecordingChannel(benchmark::State& state) {
  constexpr std::int64_t kMost = 1 << 20;
  const Recording recording = opened(1);
  const auto source = oneChannel(recording);
  std::vector<std::int32_t> values(kMost);
  for (auto _ : state)
    for (std::int64_t first = 0; first < source->shape().samples; first += kMost) {
      source->read({.first = first, .samples = std::min(kMost, source->shape().samples - first)}, values);
      benchmark::DoNotOptimize(values.data());
    }
}

/// A whole channel, and once more with what is known of it by then.
void drawWhole(benchmark::State& state, bool again) {
  const Recording recording = opened();
  const auto source = oneChannel(recording);
  const ctfmeg::Overview overview(source);
  const auto draw = [&] {
    benchmark::DoNotOptimize(overview.extremes({.samples = source->shape().samples}, kPixels));
  };
  if (again) draw();
  for (auto _ : state)
    draw();
}

void Drawing(benchmark::State& state) { drawWhole(state, false); }
void DrawingAgain(benchmark::State& state) { drawWhole(state, true); }

void once(benchmark::internal::Benchmark* benchmark) {
  benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
}

BENCHMARK(Physical)->Apply(once);
BENCHMARK(Compensated)->Apply(once);
BENCHMARK(Decimated)->Apply(once);
BENCHMARK(Epochs)->Apply(once);
BENCHMARK(EpochBytes)->Apply(once);
BENCHMARK(RecordingChannel)->Apply(once);
BENCHMARK(Drawing)->Apply(once);
BENCHMARK(DrawingAgain)->Apply(once);

}  // namespace
