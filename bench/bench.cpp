#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "floor.h"

#include <ctfmeg/recording.h>
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
      samples->readPhysical({.trial = trial, .channels = shape.channels, .samples = shape.samples}, values);
      benchmark::DoNotOptimize(values.data());
    }
  }
}

void RecordingHeader(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ctfmeg::Recording::open(dataset()));
}

BENCHMARK(Floor)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(FloorThreads)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(Facade)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(FacadeThreads)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingWhole)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingPhysical)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(RecordingHeader)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

}  // namespace

BENCHMARK_MAIN();
