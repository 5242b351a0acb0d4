#include <benchmark/benchmark.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>

#include "floor.h"

#include <ctfmeg/recording.h>
#include <ctfmeg/statistics.h>
#include <megreader/framework/native_path.h>
#include <megreader/reader/meg_reader_face.h>

// What reading a dataset costs, and what it costs at least. The dataset is named by the variable
// BENCH_DATASET; scripts/bench runs this next to other programs and prints ratios.

namespace {

std::filesystem::path dataset() {
  const char* path = std::getenv("BENCH_DATASET");
  if (path == nullptr) throw std::runtime_error("BENCH_DATASET names no dataset");
  return path;
}

std::filesystem::path resourceFile() { return dataset() / (dataset().stem().string() + ".res4"); }

void Floor(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(readFloor(dataset()));
}

void FloorThreads(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(readFloorByThreads(dataset()));
}

/// The exported facade as hosts call it, and with as many threads as pay (0).
void readByFacade(benchmark::State& state, int threads) {
  for (auto _ : state) {
    CMEGReaderFacezk facade;
    facade.setReadingThreads(threads);
    CPtrArray array;
    if (facade.readCTFMEGData2HdPa(toWindowsPath(resourceFile().string()), &array, nullptr, nullptr) != 1)
      state.SkipWithError("can't be read");
    for (int i = 0; i < array.GetSize(); ++i)
      delete static_cast<CMEGDatazk*>(array.GetAt(i));
  }
}

void Facade(benchmark::State& state) { readByFacade(state, 1); }
void FacadeThreads(benchmark::State& state) { readByFacade(state, 0); }

void RecordingWhole(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ctfmeg::Recording::open(dataset()).read());
}

/// Every sample in tesla or volt, a trial at a time.
void RecordingPhysical(benchmark::State& state) {
  std::vector<double> values;
  for (auto _ : state) {
    const auto samples = ctfmeg::Recording::open(dataset()).samples();
    const ctfmeg::Shape shape = samples->shape();
    values.resize(static_cast<std::size_t>(shape.channels) * static_cast<std::size_t>(shape.samples));
    for (std::int64_t trial = 0; trial < shape.trials; ++trial) {
      samples->read({.trial = trial, .channels = shape.channels, .samples = shape.samples}, values);
      benchmark::DoNotOptimize(values.data());
    }
  }
}

/// Every raw sample by one thread into the same memory, as much at a time as `export` reads.
void RecordingWindows(benchmark::State& state) {
  constexpr std::int64_t kMost = 1 << 20;
  std::vector<std::int32_t> values(kMost);
  const auto source = ctfmeg::Recording::open(dataset(), {.threads = 1}).samples();
  const ctfmeg::Shape shape = source->shape();
  const auto channels = static_cast<int>(std::clamp<std::int64_t>(kMost / shape.samples, 1, shape.channels));
  for (auto _ : state)
    for (std::int64_t trial = 0; trial < shape.trials; ++trial)
      for (int channel = 0; channel < shape.channels; channel += channels)
        for (std::int64_t first = 0; first < shape.samples; first += kMost) {
          source->read({.trial = trial,
                        .channel = channel,
                        .channels = std::min(channels, shape.channels - channel),
                        .first = first,
                        .samples = std::min(kMost, shape.samples - first)},
                       values);
          benchmark::DoNotOptimize(values.data());
        }
}

void readStatistics(benchmark::State& state, int threads) {
  const auto source = ctfmeg::Recording::open(dataset(), {.threads = threads}).samples();
  for (auto _ : state)
    benchmark::DoNotOptimize(ctfmeg::statisticsOf(*source, {}, {}, threads));
}

void Statistics(benchmark::State& state) { readStatistics(state, 1); }
void StatisticsThreads(benchmark::State& state) { readStatistics(state, 0); }

void RecordingHeader(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ctfmeg::Recording::open(dataset()));
}

/// Opens the dataset and looks at its sample files.
void RecordingFiles(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ctfmeg::Recording::open(dataset()).samples());
}

/// Windows at random places of the first trial, the same ones in each process. The benchmark's arguments:
/// channels and samples of each, and how many.
std::vector<ctfmeg::Window> windowsOf(const benchmark::State& state, const ctfmeg::Shape& shape) {
  std::mt19937_64 random(1);
  const auto below = [&](std::int64_t end) {
    return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(end));
  };
  const auto channels = static_cast<int>(state.range(0));
  std::vector<ctfmeg::Window> windows(static_cast<std::size_t>(state.range(2)));
  for (ctfmeg::Window& window : windows)
    window = {.channel = static_cast<int>(below(shape.channels - channels + 1)),
              .channels = channels,
              .first = below(shape.samples - state.range(1) + 1),
              .samples = state.range(1)};
  return windows;
}

std::vector<std::int32_t> roomForWindow(const benchmark::State& state) {
  return std::vector<std::int32_t>(static_cast<std::size_t>(state.range(0) * state.range(1)));
}

void WindowsFloor(benchmark::State& state) {
  const ctfmeg::Shape shape = ctfmeg::Recording::open(dataset()).samples()->shape();
  const auto windows = windowsOf(state, shape);
  auto out = roomForWindow(state);
  const auto samples = static_cast<std::size_t>(shape.samples);
  const std::size_t block = samples * sizeof(std::int32_t);
  const FloorFile file(sampleFilesOf(dataset()).front());
  for (auto _ : state)
    for (const ctfmeg::Window& window : windows) {
      const std::size_t inFile =
          static_cast<std::size_t>(window.channel) * samples + static_cast<std::size_t>(window.first);
      file.read({.offset = 8 + inFile * sizeof(std::int32_t),
                 .samples = static_cast<std::size_t>(window.samples),
                 .rows = static_cast<std::size_t>(window.channels),
                 .distance = block},
                out.data());
      benchmark::DoNotOptimize(out.data());
    }
}

void Windows(benchmark::State& state) {
  const auto source = ctfmeg::Recording::open(dataset()).samples();
  const auto windows = windowsOf(state, source->shape());
  auto out = roomForWindow(state);
  for (auto _ : state)
    for (const ctfmeg::Window& window : windows) {
      source->read(window, out);
      benchmark::DoNotOptimize(out.data());
    }
}

/// Of a thousand windows, and of the first alone.
void windowSizes(benchmark::internal::Benchmark* benchmark) {
  for (const std::int64_t count : {1000, 1})
    benchmark->Args({300, 1200, count})->Args({1, 12000, count});
  benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
}

BENCHMARK(WindowsFloor)->Apply(windowSizes);
BENCHMARK(Windows)->Apply(windowSizes);
BENCHMARK(Floor)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(FloorThreads)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(Facade)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(FacadeThreads)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingWhole)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingPhysical)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingWindows)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(Statistics)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(StatisticsThreads)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingHeader)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);
BENCHMARK(RecordingFiles)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

}  // namespace

BENCHMARK_MAIN();
