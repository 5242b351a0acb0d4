#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <functional>
#include <ostream>

#include "hostile/dataset.h"
#include "support/allocations.h"

// Every file cut at every length, and its bytes changed one at a time: whatever they say, a load ends, soon,
// and with no more memory than the files justify.

namespace {

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// What came of one way to harm one file, by both rules; printed as a line of a table.
class Tally {
 public:
  Tally(std::string file, std::string harm) : m_name(std::move(file) + ", " + std::move(harm)) {}

  void loadByBothRules(const VictimDataset& dataset, const std::string& place) {
    for (const auto& [name, rules] : kBothRules) {
      const PeakOfMemory peak;
      const double start = processorSeconds();
      const Load result = load(dataset, rules);
      const double seconds = processorSeconds() - start;
      ++m_outcomes.at(static_cast<std::size_t>(result.outcome));
      m_slowest = std::max(m_slowest, seconds);
      m_mostMemory = std::max(m_mostMemory, peak.bytes());
      EXPECT_LT(seconds, 1.0) << m_name << " at " << place << ", " << name;
      EXPECT_LT(peak.bytes(), kBlocks + 40 * dataset.bytes()) << m_name << " at " << place << ", " << name;
      if (result.outcome != Outcome::complete) {
        EXPECT_GT(result.told + (result.outcome == Outcome::fileError), 0)
            << m_name << " at " << place << ", " << name << ": fails in silence";
      }
    }
  }

  void print() const {
    std::printf("%-40s %8d %8d %8d %8d %9.1f %9zu\n", m_name.c_str(), m_outcomes[0], m_outcomes[1],
                m_outcomes[2], m_outcomes[3], 1000.0 * m_slowest, m_mostMemory / 1024);
  }

  static void printHead() {
    std::printf("%-40s %8s %8s %8s %8s %9s %9s\n", "loads by both rules", "0", "1", "file err", "no mem",
                "most ms", "most KiB");
  }

 private:
  static constexpr std::size_t kBlocks = 64 * 1024;  // what every load takes for its buffers

  std::string m_name;
  std::array<int, 4> m_outcomes{};
  double m_slowest = 0.0;
  std::size_t m_mostMemory = 0;
};

/// Sets every byte of a part of a file to each of a few values.
void changeBytes(const VictimDataset& dataset, const std::string& name, std::size_t begin, std::size_t end,
                 Tally& tally) {
  std::string bytes = dataset.content(name);
  for (std::size_t at = begin; at < end; ++at) {
    for (const int value : {0x00, 0x7F, 0x80, 0xFF}) {
      bytes[at] = static_cast<char>(value);
      if (bytes[at] == dataset.content(name)[at]) continue;
      writeFile(dataset.file(name), bytes);
      tally.loadByBothRules(dataset, std::to_string(at) + " = " + std::to_string(value));
    }
    bytes[at] = dataset.content(name)[at];
  }
  dataset.restore(name);
}

long peakResidentKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

/// Runs a sweep and looks at the memory that no allocation shows: samples that are mapped.
void sweep(const std::function<void(const VictimDataset&)>& run) {
  const VictimDataset dataset;
  for (const auto& [name, rules] : kBothRules)
    ASSERT_EQ(load(dataset, rules).outcome, Outcome::complete) << name;
  const long before = peakResidentKiB();
  Tally::printHead();
  run(dataset);
  const long growth = peakResidentKiB() - before;
  std::printf("resident memory grew by %ld KiB\n", growth);
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed for a while
  EXPECT_LT(growth, 64 * 1024);
#endif
}

TEST(Sweep, EveryFileCutAtEveryLength) {
  sweep([](const VictimDataset& dataset) {
    for (const std::string& name : dataset.names()) {
      Tally tally(name, "cut");
      for (std::size_t length = dataset.content(name).size(); length-- > 0;) {
        std::filesystem::resize_file(dataset.file(name), length);
        tally.loadByBothRules(dataset, std::to_string(length));
      }
      dataset.restore(name);
      tally.print();
    }
  });
}

struct Part {
  const char* name;
  std::size_t begin, end;

  friend void PrintTo(const Part& part, std::ostream* out) { *out << part.name; }
};

class SweepOfBytes : public testing::TestWithParam<Part> {};

TEST_P(SweepOfBytes, InTheResourceFile) {
  sweep([](const VictimDataset& dataset) {
    Tally tally("run.res4", GetParam().name);
    changeBytes(dataset, "run.res4", GetParam().begin, GetParam().end, tally);
    tally.print();
  });
}

INSTANTIATE_TEST_SUITE_P(Each, SweepOfBytes,
                         testing::Values(Part{"Header", 0, MinimalDataset::kNames},
                                         Part{"NamesAndSensor", MinimalDataset::kNames,
                                              MinimalDataset::kSensors + 1328},
                                         Part{"Coefficients", MinimalDataset::kCoefficientCount,
                                              MinimalDataset::kCoefficients + 1992}),
                         [](const auto& part) { return std::string(part.param.name); });

TEST(Sweep, BytesOfEveryOtherFile) {
  sweep([](const VictimDataset& dataset) {
    for (const std::string& name : dataset.names()) {
      if (name == "run.res4") continue;
      Tally tally(name, "bytes");
      changeBytes(dataset, name, 0, dataset.content(name).size(), tally);
      tally.print();
    }
  });
}

}  // namespace
