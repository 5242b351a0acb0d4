#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

#include "hostile/dataset.h"
#include "recording/open_recording.h"
#include "support/allocations.h"
#include "support/test_store.h"

// Loads leave nothing for one another, neither at the same time nor later.

namespace {

TEST(Independence, FacadesOnTwoThreads) {
  const VictimDataset one, two;
  writeFile(two.file("run.meg4"), MinimalDataset::sampleFile({MinimalDataset::trial(7, 2, 3)}));
  const auto loadOften = [](const VictimDataset& dataset) {
    for (const auto& [name, rules] : kBothRules) {
      const std::string first = load(dataset, rules).data;
      for (int i = 0; i < 50; ++i)
        ASSERT_EQ(load(dataset, rules).data, first) << name;
    }
  };
  ASSERT_NE(load(one, ReadingRules::host()).data, load(two, ReadingRules::host()).data);
  std::thread other([&] { loadOften(two); });
  loadOften(one);
  other.join();
}

TEST(Independence, ThreadsShareAReadAndLoseNothing) {
  const TemporaryDirectory directory;
  const auto file = largeTrials().write(directory.path());
  for (const auto& [name, rules] : kBothRules) {
    const Load alone = load(file, rules, 1);
    ASSERT_EQ(alone.outcome, Outcome::complete);
    EXPECT_EQ(load(file, rules).data, alone.data) << name;
  }
}

TEST(Independence, ThreadsReadWindowsOfOneRecording) {
  const auto store = std::make_shared<TestStore>(4, 20'000, std::vector{3, 2});
  std::atomic<int> reads = 0, wrong = 0;
  store->hook = [&](const ctfmeg::File&, std::size_t bytes) {
    if (++reads % 7 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return bytes;
  };
  const auto windowOf = [](const ctfmeg::SampleSource& source, std::int64_t trial) {
    const ctfmeg::Window window{trial, trial % 2 + 1, 0, 4, 100 * trial, 20'000 - 100 * trial};
    std::vector<std::int32_t> out(static_cast<std::size_t>(window.trials * 4 * window.samples));
    source.read(window, out);
    return out;
  };
  const auto alone = openRecording(store, "run", {.threads = 1}).samples();
  std::vector<std::vector<std::int32_t>> expected;
  for (std::int64_t trial = 0; trial < 4; ++trial)
    expected.push_back(windowOf(*alone, trial));
  const ctfmeg::Recording recording = openRecording(store, "run", {.threads = 3});
  const auto source = recording.samples();
  const auto readAll = [&] {  // half of the windows are shared by several threads once more
    EXPECT_EQ(recording.timeline().gaps.size(), 1U);
    for (std::size_t trial = 0; trial < expected.size(); ++trial)
      wrong += windowOf(*source, static_cast<std::int64_t>(trial)) != expected[trial];
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back(readAll);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(Independence, AThousandLoadsLeaveNothingBehind) {
  const VictimDataset dataset;
  const auto loads = [&](int count) {
    for (int i = 0; i < count; ++i)
      for (const auto& [name, rules] : kBothRules)
        ASSERT_EQ(load(dataset, rules).outcome, Outcome::complete) << name;
  };
  const auto mapped = [] {  // pages of address space, samples included
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages;
  };
  const auto openFiles = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  loads(2);
  const auto filesBefore = openFiles();
  const std::size_t before = bytesAllocated();
  [[maybe_unused]] const std::size_t mappedBefore = mapped();
  loads(500);
  EXPECT_EQ(bytesAllocated(), before);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which map as they like
  EXPECT_LE(mapped(), mappedBefore + 16) << "a leaked range of samples takes one page a load at least";
#endif
  EXPECT_EQ(openFiles(), filesBefore);
}

TEST(Fork, ReadsAndClosesWithoutTheThreadsOfItsParent) {
  const auto store = std::make_shared<TestStore>(3, 30'000, std::vector{5});
  auto source = openRecording(store, "run", {.threads = 4}).samples();
  std::vector<std::int32_t> expected(5 * 3 * 30'000), out(expected.size());
  const ctfmeg::Window all{0, 5, 0, 3, 0, 30'000};  // which several threads share
  source->read(all, expected);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(60);
    source->read(all, out);
    source.reset();
    _exit(out == expected ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
