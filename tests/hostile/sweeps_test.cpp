#include <gtest/gtest.h>
#include <sys/resource.h>

#include <ctime>

#include "hostile/dataset.h"
#include "support/allocations.h"

// Every file cut at every length, and its bytes changed one at a time: whatever they say, a load ends, soon,
// and with no more memory than the files justify.

namespace {

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// What no allocation shows, samples that are mapped, is in this.
long peakResidentKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

class Sweep : public testing::Test {
 protected:
  Sweep() {
    for (const auto& [name, content] : dataset.contents())
      m_bytes += content.size();
    for (const auto& [name, rules] : kBothRules)
      EXPECT_EQ(load(dataset, rules).outcome, Outcome::complete) << name;
  }
  ~Sweep() override {
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed for a while
    EXPECT_LT(peakResidentKiB() - m_residentBefore, 64 * 1024);
#endif
  }

  void loadByBothRules(const std::string& file, const std::string& harm) {
    constexpr std::size_t kBlocks = 64 * 1024;  // what every load takes for its buffers
    for (const auto& [name, rules] : kBothRules) {
      SCOPED_TRACE(file + " " + harm + ", " + name + " rules");
      const PeakOfMemory peak;
      const double start = processorSeconds();
      const Load result = load(dataset, rules);
      EXPECT_LT(processorSeconds() - start, 1.0);
      EXPECT_LT(peak.bytes(), kBlocks + 40 * m_bytes);
      if (result.outcome != Outcome::complete && result.outcome != Outcome::fileError) {
        EXPECT_GT(result.told, 0) << "fails in silence";
      }
    }
  }

  /// Sets every byte of a part of a file to each of a few values.
  void changeBytes(const std::string& file, std::size_t begin, std::size_t end) {
    const std::string& content = dataset.contents().at(file);
    for (std::size_t at = begin; at < end; ++at)
      for (const char value : {'\0', '\x7F', '\x80', '\xFF'}) {
        if (content[at] == value) continue;
        std::string bytes = content;
        bytes[at] = value;
        writeFile(dataset.file(file), bytes);
        loadByBothRules(file, "at " + std::to_string(at) + " = " + std::to_string(value));
      }
    dataset.restore(file);
  }

  const VictimDataset dataset;

 private:
  std::size_t m_bytes = 0;  // of all files
  long m_residentBefore = peakResidentKiB();
};

TEST_F(Sweep, EveryFileCutAtEveryLength) {
  for (const auto& [name, content] : dataset.contents()) {
    for (std::size_t length = content.size(); length-- > 0;) {
      std::filesystem::resize_file(dataset.file(name), length);
      loadByBothRules(name, "cut to " + std::to_string(length));
    }
    dataset.restore(name);
  }
}

// The resource file in parts, which may run at the same time.
using D = MinimalDataset;
TEST_F(Sweep, BytesOfTheHeader) { changeBytes("run.res4", 0, D::kNames); }
TEST_F(Sweep, BytesOfNamesAndSensor) { changeBytes("run.res4", D::kNames, D::kSensors + 1328); }
TEST_F(Sweep, BytesOfCoefficients) { changeBytes("run.res4", D::kCoefficientCount, D::kCoefficients + 1992); }
TEST_F(Sweep, BytesOfEveryOtherFile) {
  for (const auto& [name, content] : dataset.contents())
    if (name != "run.res4") changeBytes(name, 0, content.size());
}

}  // namespace
