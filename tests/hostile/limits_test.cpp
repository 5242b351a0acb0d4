#include <gtest/gtest.h>
#include <sys/resource.h>

#include <ostream>

#include "hostile/dataset.h"
#include "support/allocations.h"
#include "support/command.h"

// Headers that promise more than the files hold, and files that hold more than anybody wants.

namespace {

using D = MinimalDataset;

#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
constexpr int kAllowance = 10;  // the sanitizers' own memory and time; a build that counts lines is no faster
#else
constexpr int kAllowance = 1;
#endif

struct Patch {
  std::size_t at;
  Bytes bytes;
};

struct Hostile {
  const char* what;
  std::vector<Patch> patches;
  std::uintmax_t resourceBytes = 0;  ///< grown to so many by a hole, unless 0
  int channels = 2;

  friend void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.what; }
};

const Bytes kMost16 = Bytes().i16(0x7FFF), kMost32 = Bytes().i32(0x7FFFFFFF);
const Patch kSamples{1288, kMost32}, kChannels{1292, kMost16}, kTrials{1312, kMost16};
const Patch kFilters{D::kFilterCount, kMost16}, kCoefficients{D::kCoefficientCount, kMost16};

const Hostile kHostile[] = {
    {"32767 channels", {kChannels}},
    {"2^31-1 samples", {kSamples}},
    {"32767 trials", {kTrials}},
    {"trials of 2^31-1 samples, 32767 of each", {kSamples, kTrials}},
    {"run description of 2^31-1 bytes", {{1836, kMost32}}},
    {"32767 filters", {kFilters}},
    {"32767 parameters of a filter", {{D::kSecondFilter + 16, kMost16}}},
    {"32767 coefficient records", {kCoefficients}},
    {"32767 references", {{D::kCoefficients + 40, kMost16}}},
    {"all of it", {kChannels, kSamples, kTrials, kFilters, kCoefficients}},
    // No zero byte ends them: host rules let each run on to the next.
    {"5000 names without an end", {{D::kNames, Bytes().raw(std::string(5000 * 32, 'x'))}}, 6'850'000, 5000},
    {"32767 channels that are there, all zero", {kChannels}, 50'000'000},
    {"32767 coefficient records that are there", {kCoefficients}, 70'000'000},
    {"run description of 256 MiB that is there", {{1836, Bytes().i32(0x10000000)}}, 300'000'000},
};

class Limits : public testing::TestWithParam<Hostile> {
 protected:
  Limits() {
    MinimalDataset dataset;
    if (GetParam().channels != 2) dataset.resize(1, GetParam().channels, 1);
    for (const Patch& patch : GetParam().patches)
      dataset.res4.put(patch.at, patch.bytes);
    m_file = dataset.write(m_directory.path());
    if (GetParam().resourceBytes != 0) std::filesystem::resize_file(m_file, GetParam().resourceBytes);
  }

  TemporaryDirectory m_directory;
  std::filesystem::path m_file;
};

/// What the programs took that this one started: the most memory of one, and processor time of all.
struct OfPrograms {
  OfPrograms() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    residentKiB = usage.ru_maxrss;
    for (const timeval& time : {usage.ru_utime, usage.ru_stime})
      seconds += static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  }
  long residentKiB = 0;
  double seconds = 0.0;
};

TEST_P(Limits, OfTheCommand) {
  for (const auto& [name, rules] : kBothRules) {
    const OfPrograms before;
    const auto arguments = {"info", "--json", "--rules", name, m_file.c_str()};
    const int exitCode = runCommand(CTFMEG_COMMAND, {arguments.begin(), arguments.end()}).exitCode;
    EXPECT_TRUE(exitCode == 0 || exitCode == 1) << exitCode;
    EXPECT_LT(OfPrograms().residentKiB, kAllowance * 200 * 1024) << name;
    EXPECT_LT(OfPrograms().seconds - before.seconds, kAllowance * 1.0) << name;
  }
}

TEST_P(Limits, OfALoad) {
  for (const auto& [name, rules] : kBothRules) {
    const PeakOfMemory peak;
    load(m_file, rules);
    EXPECT_LT(peak.bytes(), GetParam().resourceBytes != 0 ? 160'000'000U : 100'000U) << name;
  }
}

#ifndef __SANITIZE_ADDRESS__
TEST(LimitsOfExport, NoMemoryForTheWholeRecording) {
  const TemporaryDirectory directory;
  MinimalDataset dataset;
  dataset.resize(1, 10, 1);
  dataset.res4.put(1288, Bytes().i32(1000000)).put(1312, Bytes().i16(10));
  const auto given = dataset.write(directory.path()).parent_path();
  std::filesystem::resize_file(given / "run.meg4", 8 + 400'000'000);  // a hole: takes no room
  for (const char* how : {"--quiet", "--resample=10", "--physical"})
    EXPECT_EQ(runCommand(CTFMEG_COMMAND, {"export", given.string(), "-o", "/dev/null", how}).exitCode, 0);
  EXPECT_LT(OfPrograms().residentKiB, 100 * 1000);
}
#endif

INSTANTIATE_TEST_SUITE_P(Header, Limits, testing::ValuesIn(kHostile));

}  // namespace
