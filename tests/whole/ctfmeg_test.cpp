#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string>
#include <vector>

#include "support/command.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/path_text.h>

#ifndef _WIN32
#include <sys/resource.h>
#endif

// What the command does with large and real recordings and with what only POSIX systems have; what it prints
// is in tables/commands.txt and tables/scan_check.txt.

namespace {

namespace fs = std::filesystem;

/// A NumPy file taken apart.
struct Array {
  explicit Array(const std::string& bytes) {
    if (bytes.size() < 10) return;
    const std::size_t start =
        10U + static_cast<unsigned char>(bytes[8]) + 256U * static_cast<unsigned char>(bytes[9]);
    header = bytes.substr(10, start - 10);
    data = bytes.substr(start);
  }

  template <class T>
  std::vector<T> values() const {
    std::vector<T> all(data.size() / sizeof(T));
    if (!all.empty()) std::memcpy(all.data(), data.data(), all.size() * sizeof(T));
    return all;
  }

  std::string header, data;
};

class Ctfmeg : public testing::Test {
 protected:
  static CommandResult run(const std::vector<std::string>& arguments) {
    return runCommand(CTFMEG_COMMAND, arguments);
  }

  std::string path(const std::string& name) const {
    return ctfmeg::textOf(m_directory.path() / ctfmeg::pathFromText(name));
  }

  /// Writes a dataset whose directory gets that name; its files are called run.
  std::string write(const std::string& name, const MinimalDataset& dataset = {}) const {
    fs::rename(dataset.write(m_directory.path()).parent_path(), ctfmeg::pathFromText(path(name)));
    return path(name);
  }

 private:
  TemporaryDirectory m_directory;
};

#ifndef _WIN32
TEST_F(Ctfmeg, SaysWhatTheSystemRefuses) {
  const std::string dataset = write("a.ds");
  EXPECT_TRUE(run({"info", path("\x1b[31m.ds")}).err.starts_with("ctfmeg: " + path("") + "\\x1b[31m.ds: "));
  const std::string full = "can't be written: No space left on device\n";
  if (fs::exists("/dev/full")) {
    const CommandResult exported = run({"export", dataset, "-o", "/dev/full"});
    EXPECT_EQ(exported.exitCode, 1);
    EXPECT_EQ(exported.err, "ctfmeg: /dev/full: " + full);
    const CommandResult shown =
        runCommand("/bin/sh", {"-c", "exec '" CTFMEG_COMMAND "' info '" + dataset + "' >/dev/full"});
    EXPECT_EQ(shown.exitCode, 1);
    EXPECT_EQ(shown.err, "ctfmeg: standard output: " + full);
  }
  if (geteuid() == 0) return;  // who may read everything
  fs::permissions(dataset + "/run.res4", fs::perms::none);
  EXPECT_EQ(nlohmann::json::parse(run({"info", "--json", dataset}).out).at("error").at("kind"),
            "noPermission");
}
#endif

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
/// A dataset of one channel or more whose samples are a hole in its file.
MinimalDataset sparseDataset(int trials, int channels, int samples) {
  MinimalDataset dataset;
  dataset.resize(1, channels, 1);
  dataset.res4.put(1288, Bytes().i32(samples)).put(1312, Bytes().i16(trials));
  dataset.sampleFiles = {MinimalDataset::sampleFile({})};
  return dataset;
}

TEST_F(Ctfmeg, ExportingTakesNoMemoryForTheRecording) {
  constexpr int kTrials = 10, kChannels = 10, kSamples = 1000000;
  const std::string given = write("a.ds", sparseDataset(kTrials, kChannels, kSamples));
  fs::resize_file(given + "/run.meg4", 8 + std::uintmax_t{kTrials} * kChannels * kSamples * 4);  // 400 MB
  for (const std::vector<std::string>& how : {std::vector<std::string>{},
                                              {"--resample", "10"},
                                              {"--physical", "--channels", "MLC11,MLC13*,MLC14"}}) {
    std::vector<std::string> arguments{"export", given, "-o", "/dev/null"};
    arguments.insert(arguments.end(), how.begin(), how.end());
    EXPECT_EQ(run(arguments).exitCode, 0);
  }
  rusage children{};
  getrusage(RUSAGE_CHILDREN, &children);
  EXPECT_LT(children.ru_maxrss, 100 * 1000) << "kilobytes";
}
#endif

TEST_F(Ctfmeg, RealRecording) {
  const fs::path recording = REAL_RECORDING;
  if (!fs::exists(recording)) GTEST_SKIP() << "there is no recording at " << recording;
  std::string samples = readFile(recording / recording.stem().concat(".meg4")).substr(8);
  for (std::size_t i = 0; i + 4 <= samples.size(); i += 4)
    std::reverse(&samples[i], &samples[i] + 4);
  const Array raw(run({"export", recording.string(), "-o", "-"}).out);
  EXPECT_NE(raw.header.find("'shape': (2, 356, 1201), }"), std::string::npos) << raw.header;
  EXPECT_TRUE(raw.data == samples);

  struct Case {
    const char* channel;
    double first, last;
  };
  for (const Case& c : {Case{"BG1-4304", -1.001309540312169e-09, -1.029459096617618e-09},
                        {"MLC11-4304", -6.863387314589708e-11, -6.731340101548842e-11},
                        {"MRF21-4304", 7.443976319210039e-12, 8.896418980189732e-12},
                        {"UADC005-4302", 0.005673784762620926, 0.005284631624817848},
                        {"SCLK01-177", 16542.588333333333, 16643.588333333333}}) {
    const Array physical(
        run({"export", "--physical", "--channels", c.channel, recording.string(), "-o", "-"}).out);
    ASSERT_EQ(physical.data.size(), 2U * 1201U * sizeof(double)) << c.channel;
    EXPECT_DOUBLE_EQ(physical.values<double>().front(), c.first) << c.channel;
    EXPECT_DOUBLE_EQ(physical.values<double>().back(), c.last) << c.channel;
  }
}

}  // namespace
