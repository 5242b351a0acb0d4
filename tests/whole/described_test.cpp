#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "describe/json.h"
#include "describe/scan_table.h"
#include "simulate/dataset.h"
#include "support/command.h"
#include "support/temporary_directory.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/statistics.h>

namespace {

using namespace ctfmeg;
namespace fs = std::filesystem;

std::string printed(const std::vector<std::string>& arguments) {
  return runCommand(CTFMEG_COMMAND, arguments).out;
}

simulate::Options smallOptions() {
  simulate::Options options;
  options.channels = 60;
  options.trials = 3;
  options.samples = 240;
  options.preTrigger = 60;
  return options;
}

ErrorKind scanFailure(const fs::path& directory, const std::function<bool(double)>& goesOn = {}) {
  try {
    describe::scanJson(directory, goesOn);
  } catch (const Error& error) {
    return error.kind();
  }
  ADD_FAILURE() << directory;
  return ErrorKind::damaged;
}

TEST(Described, IsWhatTheCommandPrints) {
  TemporaryDirectory directory;
  fs::create_directory(directory.path() / "empty");
  EXPECT_EQ(describe::scanJson(directory.path() / "empty"), "[]");
  simulate::writeDataset(directory.path() / "a.ds", smallOptions());
  for (const char* damage : {"no-samples", "cut-markers", "garbage-res4"}) {
    simulate::Options options = smallOptions();
    options.damage = {damage};
    simulate::writeDataset(directory.path() / (std::string(damage) + ".ds"), options);
  }
  for (const char* readable : {"a.ds", "no-samples.ds", "cut-markers.ds"}) {
    const std::string path = textOf(directory.path() / readable);
    EXPECT_EQ(describe::infoJson(path, Recording::open(path)) + "\n", printed({"info", "--json", path}));
  }
  double last = -1.0;
  const std::string json = describe::scanJson(directory.path(), [&](double done) {
    EXPECT_GE(done, last);
    last = done;
    return true;
  });
  EXPECT_EQ(last, 1.0);
  EXPECT_EQ(json + "\n", printed({"scan", "--json", textOf(directory.path())}));
  EXPECT_EQ(std::count(json.begin(), json.end(), '{'), 4);
}

TEST(Described, LosesNothingOfAScan) {
  TemporaryDirectory directory;
  simulate::writeDataset(directory.path() / "a.ds", smallOptions());
  std::error_code failed;  // not every system has links
  fs::create_directory_symlink(directory.path() / "moved", directory.path() / "lost.ds", failed);
  if (!failed) {
    const std::string json = describe::scanJson(directory.path());
    EXPECT_EQ(std::count(json.begin(), json.end(), '{'), 2);
    EXPECT_NE(json.find(R"("error":"leads nowhere")"), std::string::npos) << json;
  }
  EXPECT_EQ(scanFailure(directory.path() / "missing"), ErrorKind::notFound);
  EXPECT_EQ(scanFailure(directory.path() / "a.ds" / "a.res4"), ErrorKind::notADataset);
  EXPECT_EQ(scanFailure(directory.path(), [](double) { return false; }), ErrorKind::stopped);
  EXPECT_EQ(scanFailure(directory.path(), [](double done) { return done == 0.0; }), ErrorKind::stopped);
}

/// Statistics of epochs that only compensation keeps below a limit: of their stored values, too, none is left
/// out.
TEST(Described, StatisticsAreOfTheEpochsThatAreLeft) {
  TemporaryDirectory directory;
  simulate::Options options = smallOptions();
  options.channels = 318;
  options.commonNoise = 200.0;
  simulate::writeDataset(directory.path() / "a.ds", options);
  const Recording recording = Recording::open(directory.path() / "a.ds");
  Epoching epochs{.occurrences = occurrencesOf(recording, {"tone"}), .from = 0.0, .to = 0.05};
  epochs.reject = {{"meg", 2e-12}};
  const Selection selection{.channels = std::vector<std::string>{"meg"}};
  EXPECT_THROW(processed(recording, selection, {.epochs = epochs}), Error);
  const Processing processing{.compensation = 3, .epochs = epochs};
  const ProcessedSamples made = processed(recording, selection, processing);
  const Shape shape = made.source->shape();
  const auto all = statisticsOf(recording, selection, processing);
  ASSERT_EQ(all.size(), static_cast<std::size_t>(shape.channels));
  std::vector<double> values(static_cast<std::size_t>(shape.trials * shape.samples));
  made.source->read({.trials = shape.trials, .samples = shape.samples}, values);
  const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
  EXPECT_EQ(all[0].samples, std::ssize(values));
  EXPECT_EQ(all[0].min, *least);
  EXPECT_EQ(all[0].max, *greatest);
  EXPECT_LT(all[0].max - all[0].min, 2e-12);
}

}  // namespace
