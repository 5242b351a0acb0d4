#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <ostream>

#include "hostile/dataset.h"
#include "support/allocations.h"

// Headers that promise more than the files hold, and files that hold more than anybody wants.

namespace {

constexpr std::int32_t kMost32 = 0x7FFFFFFF;
constexpr int kMost16 = 0x7FFF;

#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
constexpr int kAllowance = 10;  // the sanitizers' own memory and time; a build that counts lines is no faster
#else
constexpr int kAllowance = 1;
#endif

struct Hostile {
  const char* what;
  std::function<void(MinimalDataset&)> patch;
  std::uintmax_t resourceBytes = 0;  ///< grown to so many by a hole, unless 0

  friend void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.what; }
};

void channels(MinimalDataset& dataset) { dataset.res4.put(1292, Bytes().i16(kMost16)); }
void samples(MinimalDataset& dataset) { dataset.res4.put(1288, Bytes().i32(kMost32)); }
void trials(MinimalDataset& dataset) { dataset.res4.put(1312, Bytes().i16(kMost16)); }
void description(MinimalDataset& dataset) { dataset.res4.put(1836, Bytes().i32(kMost32)); }
void filters(MinimalDataset& dataset) {
  dataset.res4.put(MinimalDataset::kFilterCount, Bytes().i16(kMost16));
}
void parameters(MinimalDataset& dataset) {
  dataset.res4.put(MinimalDataset::kSecondFilter + 16, Bytes().i16(kMost16));
}
void coefficients(MinimalDataset& dataset) {
  dataset.res4.put(MinimalDataset::kCoefficientCount, Bytes().i16(kMost16));
}
void references(MinimalDataset& dataset) {
  dataset.res4.put(MinimalDataset::kCoefficients + 40, Bytes().i16(kMost16));
}
void allCounts(MinimalDataset& dataset) {
  for (const auto& most : {channels, samples, trials, filters, coefficients})
    most(dataset);
}

/// Names that no zero byte ends, which host rules let run on.
void endlessNames(MinimalDataset& dataset) {
  constexpr int kChannels = 5000;
  dataset.resize(1, kChannels, 1);
  dataset.res4.put(MinimalDataset::kNames, Bytes().raw(std::string(kChannels * 32, 'x')));
}

const Hostile kHostile[] = {
    {"32767 channels", channels},
    {"2^31-1 samples", samples},
    {"32767 trials", trials},
    {"trials of 2^31-1 samples, 32767 of each", [](auto& d) { samples(d), trials(d); }},
    {"run description of 2^31-1 bytes", description},
    {"32767 filters", filters},
    {"32767 parameters of a filter", parameters},
    {"32767 coefficient records", coefficients},
    {"32767 references", references},
    {"all of it", allCounts},
    {"5000 names without an end", endlessNames, 6'850'000},
    {"32767 channels that are there, all zero", channels, 50'000'000},
    {"32767 coefficient records that are there", coefficients, 70'000'000},
    {"run description of 256 MiB that is there", [](auto& d) { d.res4.put(1836, Bytes().i32(0x10000000)); },
     300'000'000},
};

/// What a program took.
struct Use {
  int exitCode = -1;
  double seconds = 0.0;  ///< of processor time
  long residentKiB = 0;
};

Use runSilently(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = vfork();  // a copy of this process would count as the program's memory
  if (child == 0) {
    const int nothing = open("/dev/null", O_RDWR);
    for (const int stream : {0, 1, 2})
      dup2(nothing, stream);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, seconds(usage.ru_utime) + seconds(usage.ru_stime),
          usage.ru_maxrss};
}

class Limits : public testing::TestWithParam<Hostile> {
 protected:
  Limits() {
    MinimalDataset dataset;
    GetParam().patch(dataset);
    m_file = dataset.write(m_directory.path());
    if (GetParam().resourceBytes != 0) std::filesystem::resize_file(m_file, GetParam().resourceBytes);
  }

  TemporaryDirectory m_directory;
  std::filesystem::path m_file;
};

TEST_P(Limits, OfTheCommand) {
  for (const auto& [name, rules] : kBothRules) {
    const Use use = runSilently({CTFMEG_COMMAND, "info", "--json", "--rules", name, m_file.string()});
    std::printf("%-42s %-6s exit %d, %5.2f s, %6.1f MiB\n", GetParam().what, name, use.exitCode, use.seconds,
                static_cast<double>(use.residentKiB) / 1024);
    EXPECT_TRUE(use.exitCode == 0 || use.exitCode == 1);
    EXPECT_LT(use.residentKiB, kAllowance * 200 * 1024) << name;
    EXPECT_LT(use.seconds, kAllowance * 1.0) << name;
  }
}

TEST_P(Limits, OfALoad) {
  for (const auto& [name, rules] : kBothRules) {
    const PeakOfMemory peak;
    load(m_file, rules);
    EXPECT_LT(peak.bytes(), GetParam().resourceBytes != 0 ? 160'000'000U : 100'000U) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Header, Limits, testing::ValuesIn(kHostile));

}  // namespace
