#include <gtest/gtest.h>

#include <iterator>
#include <thread>

#include "hostile/dataset.h"
#include "support/allocations.h"

// Loads leave nothing behind for one another, neither at the same time nor later.

namespace {

TEST(Independence, FacadesOnTwoThreads) {
  const VictimDataset one, two;
  std::filesystem::resize_file(two.file("run.res4"), 3000);
  const auto loadOften = [](const VictimDataset& dataset, Outcome expected) {
    for (int i = 0; i < 50; ++i)
      for (const auto& [name, rules] : kBothRules)
        ASSERT_EQ(load(dataset, rules).outcome, expected) << name;
  };
  std::thread other([&] { loadOften(two, Outcome::failed); });
  std::thread third([&] { loadOften(one, Outcome::complete); });
  loadOften(one, Outcome::complete);
  other.join();
  third.join();
}

TEST(Independence, AThousandLoadsLeaveNothingBehind) {
  const VictimDataset dataset;
  const auto loads = [&](int count) {
    for (int i = 0; i < count; ++i)
      for (const auto& [name, rules] : kBothRules)
        ASSERT_EQ(load(dataset, rules).outcome, Outcome::complete) << name;
  };
  const auto openFiles = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  loads(2);
  const auto filesBefore = openFiles();
  const std::size_t before = bytesAllocated();
  loads(500);
  EXPECT_EQ(bytesAllocated(), before);
  EXPECT_EQ(openFiles(), filesBefore);
}

}  // namespace
