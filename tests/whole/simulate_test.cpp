#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "check_host/check_host.h"
#include "simulate/damage.h"
#include "simulate/dataset.h"
#include "simulate/faults.h"
#include "support/temporary_directory.h"

#include <ctfmeg/recording.h>

namespace {

using namespace ctfmeg;
using simulate::Fault;
namespace fs = std::filesystem;

simulate::Options smallOptions() {
  simulate::Options options;
  options.channels = 60;
  options.trials = 5;
  options.samples = 240;
  options.rate = 600.0;
  options.preTrigger = 60;
  return options;
}

fs::path simulated(const fs::path& parent, const std::string& name, const simulate::Options& options) {
  simulate::writeDataset(parent / name, options);
  return parent / name;
}

std::string allBytes(const fs::path& dataset) {
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(dataset))
    files.insert(entry.path());
  std::string bytes;
  for (const fs::path& file : files)
    bytes += file.extension().string() + readFile(file);
  return bytes;
}

TEST(Simulate, ReadsBackAsARecording) {
  TemporaryDirectory directory;
  const Recording recording = Recording::open(simulated(directory.path(), "a.ds", smallOptions()));
  EXPECT_TRUE(recording.warnings().empty());
  const RecordInfo& record = recording.record();
  EXPECT_EQ(record.numChannels, 60);
  EXPECT_EQ(record.numTrials, 5);
  EXPECT_EQ(record.samplesPerTrial, 240);
  EXPECT_EQ(record.sampleRate, 600.0);
  EXPECT_EQ(record.preTrigSamples, 60);
  EXPECT_EQ(record.filters.size(), 2u);
  const auto trials = recording.read();
  EXPECT_EQ(trials.size(), 5u);

  std::set<ChannelKind> kinds;
  std::vector<double> values(240);
  for (const Channel& channel : recording.channels()) {
    kinds.insert(channel.kind);
    EXPECT_EQ(channel.gradientOrder, 0) << channel.name;
    trials[0].physical(channel.index, values);
    double largest = 0.0;
    for (const double value : values)
      largest = std::max(largest, std::abs(value));
    if (channel.kind == ChannelKind::gradiometer) {
      const auto &a = channel.dewarCoils[0].positionCm, &b = channel.dewarCoils[1].positionCm;
      EXPECT_NEAR(std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]), 5.0, 1e-9) << channel.name;
      EXPECT_GT(largest, 2e-14) << channel.name;
      EXPECT_LT(largest, 5e-12) << channel.name;
    } else if (channel.kind == ChannelKind::eeg) {
      EXPECT_GT(largest, 1e-6) << channel.name;
      EXPECT_LT(largest, 2e-4) << channel.name;
    } else if (channel.kind == ChannelKind::clock) {
      EXPECT_NEAR(values[239] - values[0], 239 / 600.0, 1e-3);
    }
  }
  EXPECT_TRUE(kinds.contains(ChannelKind::refMagnetometer));
  EXPECT_TRUE(kinds.contains(ChannelKind::refGradiometer));
  EXPECT_TRUE(kinds.contains(ChannelKind::stim));
  std::set<std::string> types;
  for (const CoefficientRecord& coefficients : recording.coefficients())
    types.insert(coefficientTypeName(coefficients.type));
  EXPECT_EQ(types, (std::set<std::string>{"G1BR", "G2BR", "G3BR"}));
}

TEST(Simulate, SaysWhereTheHeadIsAndWhatHappened) {
  TemporaryDirectory directory;
  const Recording recording = Recording::open(simulated(directory.path(), "a.ds", smallOptions()));
  const auto& toHead = recording.fiducials().dewarToHead;
  ASSERT_TRUE(toHead);
  // The head coils carry the sensors of the dewar to where the resource file has them on the head.
  for (const Channel& channel : recording.channels()) {
    if (channel.kind != ChannelKind::gradiometer) continue;
    for (std::size_t coil = 0; coil < 2; ++coil)
      for (std::size_t row = 0; row < 3; ++row) {
        const auto& dewar = channel.dewarCoils[coil].positionCm;
        const auto& r = (*toHead)[row];
        EXPECT_NEAR(r[0] * dewar[0] + r[1] * dewar[1] + r[2] * dewar[2] + r[3] / 10,
                    channel.headCoils[coil].positionCm[row], 1e-3)
            << channel.name;
      }
  }
  ASSERT_EQ(recording.markers().size(), 2u);
  EXPECT_EQ(recording.markers()[0].samples.size(), 5u);
  EXPECT_EQ(recording.markers()[0].samples[4].sample, 60) << "at the trigger";
  EXPECT_EQ(recording.classes().at(0).trials, std::vector<std::int32_t>{4});
  EXPECT_EQ(recording.badSegments().at(0).endMs, 200.0);
  EXPECT_EQ(std::ranges::count(recording.channels(), false, &Channel::good), 1);
  EXPECT_EQ(recording.electrodes().size(), recording.digitised().points.size());
  EXPECT_EQ(recording.digitised().fiducials.size(), 3u);
  EXPECT_EQ(std::get<std::string>(recording.information().find("_DATASET_SYSTEMTYPE")->value), "cmeg");
  EXPECT_EQ(recording.virtualChannels().at(0).references.size(), 2u);
}

TEST(Simulate, TheSameSeedGivesTheSameBytes) {
  TemporaryDirectory directory;
  auto options = smallOptions();
  TemporaryDirectory others;
  const std::string bytes = allBytes(simulated(directory.path(), "a.ds", options));
  EXPECT_EQ(allBytes(simulated(others.path(), "a.ds", options)), bytes);
  options.seed = 2;
  EXPECT_NE(allBytes(simulated(others.path(), "b.ds", options)), bytes);
}

TEST(Simulate, ASplitSetReadsAsTheSameDataInOneFile) {
  TemporaryDirectory directory;
  auto options = smallOptions();
  const Recording whole = Recording::open(simulated(directory.path(), "a.ds", options));
  options.splitAfter = 2;
  const fs::path split = simulated(directory.path(), "b.ds", options);
  EXPECT_TRUE(fs::exists(split / "b.2_meg4"));
  const auto expected = whole.read();
  const auto host = readAsHost(split, {}, {}).samples;
  ASSERT_EQ(host->shape().trials, 5);
  const Recording recording = Recording::open(split);
  for (const Trial& trial : expected) {
    const int number = trial.origin().fileTrial;
    const Trial same = recording.trial(number);
    EXPECT_TRUE(std::ranges::equal(same.raw(), trial.raw())) << number;
    std::vector<std::int32_t> values(trial.raw().size());
    host->read({number, 1, 0, trial.channels(), 0, trial.samples()}, values);
    EXPECT_TRUE(std::ranges::equal(values, trial.raw())) << number;
  }
}

TEST(Simulate, ARunGoesOnOverTrialsAndItsClockOverPauses) {
  TemporaryDirectory directory;
  auto options = smallOptions();
  options.continuous = true;
  options.preTrigger = 239;  // a trial's tone and pulse begin with its last sample
  options.pauses = {{3, 0.25}, {1, 2.001}};
  const Recording recording = Recording::open(simulated(directory.path(), "a.ds", options));
  const auto run = recording.samples({.continuous = true, .gaps = Gaps::fill});
  std::vector<std::pair<int, std::int64_t>> gaps;
  for (const Gap& gap : run->gaps())
    gaps.emplace_back(gap.afterTrial, gap.samples);
  EXPECT_EQ(gaps, (std::vector<std::pair<int, std::int64_t>>{{1, 1201}, {3, 150}}));
  std::string pulses;  // the six samples of a pulse: whether the next trial begins within it
  for (const Trial& trial : recording.read())
    pulses += std::to_string(std::ranges::count(trial.raw().first(10), 1)) + " ";
  EXPECT_EQ(pulses, "0 5 0 5 0 ");
  for (const MarkerSample& press : recording.markers().at(1).samples) {
    EXPECT_TRUE(press.trial == 1 || press.trial == 3) << "the others are in pauses or after the end";
    EXPECT_LT(press.sample, 239) << "before the trial's own tone";
  }
  EXPECT_EQ(recording.markers().at(1).samples.size(), 2u);
}

TEST(Simulate, FaultsAreWhereTheKeySaysAndNowhereElse) {
  TemporaryDirectory directory;
  auto options = smallOptions();
  const Recording sound = Recording::open(simulated(directory.path(), "a.ds", options));
  options.bad = {Fault::flat, Fault::flat, Fault::clipped, Fault::jump, Fault::noisy};
  const Recording spoilt = Recording::open(simulated(directory.path(), "b.ds", options));
  const auto planted = simulate::plantedFaults(options);
  ASSERT_EQ(planted.size(), 5u);
  const auto valuesOf = [](const Recording& recording, int channel) {
    std::vector<std::int32_t> values;
    for (const Trial& trial : recording.read())
      values.insert(values.end(), trial.raw(channel).begin(), trial.raw(channel).end());
    return values;
  };
  const auto deviation = [](const std::vector<std::int32_t>& values) {
    double sum = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
      sum += std::abs(static_cast<double>(values[i]) - values[i - 1]);
    return sum / static_cast<double>(values.size());
  };
  for (const Channel& channel : spoilt.channels()) {
    const auto before = valuesOf(sound, channel.index), values = valuesOf(spoilt, channel.index);
    const auto fault = std::ranges::find(planted, channel.name, &simulate::PlantedFault::channel);
    if (fault == planted.end()) {
      EXPECT_EQ(values, before) << channel.name;
      continue;
    }
    EXPECT_TRUE(channel.good) << "to be found";
    if (fault->fault == Fault::flat) {
      EXPECT_EQ(std::ranges::count(std::span(values).last(400), values.back()), 400);
    } else if (fault->fault == Fault::clipped) {
      EXPECT_GT(std::ranges::count(values, INT32_MAX), 20);
      EXPECT_GT(std::ranges::count(values, INT32_MIN), 20);
    } else if (fault->fault == Fault::jump) {
      std::int64_t steps = 0;
      for (std::size_t i = 1; i < values.size(); ++i)
        steps += std::abs(values[i] - values[i - 1]) > 100 * deviation(before);
      EXPECT_EQ(steps, 3);
      EXPECT_GT(std::abs(values.back() - before.back()), 100 * deviation(before)) << "steps stay";
    } else {
      EXPECT_GT(deviation(values), 50 * deviation(before));
    }
  }
}

TEST(Simulate, CoefficientsCancelCommonNoise) {
  TemporaryDirectory directory;
  simulate::Options options;
  options.trials = 1;
  options.samples = 600;
  const Recording quiet = Recording::open(simulated(directory.path(), "a.ds", options));
  options.commonNoise = 200;
  const Recording noisy = Recording::open(simulated(directory.path(), "b.ds", options));
  // Flux that the noise alone makes in a channel, in counts of the converter.
  const auto with = noisy.trial(0), without = quiet.trial(0);
  std::map<std::string, std::vector<double>> noise;
  for (const Channel& channel : noisy.channels())
    for (std::int64_t i = 0; i < options.samples; ++i)
      noise[channel.name].push_back(
          static_cast<double>(with.raw(channel.index)[static_cast<std::size_t>(i)]) -
          without.raw(channel.index)[static_cast<std::size_t>(i)]);
  std::map<std::string, std::pair<double, double>> power;  // before and after, by the coefficients' type
  for (const CoefficientRecord& record : noisy.coefficients()) {
    if (!record.sensor.starts_with("M")) continue;
    auto& [before, after] = power[coefficientTypeName(record.type)];
    for (std::size_t i = 0; i < 600; ++i) {
      double left = noise.at(record.sensor)[i];
      before += left * left;
      for (std::size_t k = 0; k < record.references.size(); ++k)
        left -= record.references[k].value * noise.at(record.references[k].reference)[i];
      after += left * left;
    }
  }
  const auto share = [&](const char* type) {
    return std::sqrt(power.at(type).second / power.at(type).first);
  };
  EXPECT_LT(share("G1BR"), 1.01)
      << "nothing to remove from gradiometers that are balanced, and nothing added";
  EXPECT_LT(share("G2BR"), 0.1);
  EXPECT_LT(share("G3BR"), 0.01);
}

TEST(Simulate, EachDamageChangesItsFileAndNoOther) {
  TemporaryDirectory directory;
  auto options = smallOptions();
  options.splitAfter = 2;
  const auto filesOf = [&] {
    fs::remove_all(directory.path() / "a.ds");
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(simulated(directory.path(), "a.ds", options)))
      files[entry.path().filename().string()] = readFile(entry.path());
    return files;
  };
  const auto sound = filesOf();
  for (const simulate::Damage& damage : simulate::damages()) {
    options.damage = {std::string(damage.name)};
    auto damaged = filesOf();
    int differences = 0;
    for (const auto& [name, bytes] : sound) {
      if (damaged.contains(name) && damaged[name] == bytes) continue;
      ++differences;
      EXPECT_TRUE(name.ends_with(damage.file) || (damage.file == ".meg4" && name.ends_with("_meg4")))
          << damage.name << ": " << name;
    }
    EXPECT_GT(differences, 0) << damage.name;
  }
}

TEST(Simulate, RefusesWithoutLeavingAnything) {
  TemporaryDirectory directory;
  const auto names = [&] {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory.path()))
      found.insert(entry.path().filename().string());
    return found;
  };
  auto options = smallOptions();
  EXPECT_THROW(simulated(directory.path(), "a.meg", options), std::invalid_argument);
  options.channels = 0;
  EXPECT_THROW(simulated(directory.path(), "a.ds", options), std::invalid_argument);
  options = smallOptions();
  options.samples = 1 << 30;
  EXPECT_THROW(simulated(directory.path(), "a.ds", options), std::invalid_argument)
      << "a trial of 2 GiB and more";
  options = smallOptions();
  EXPECT_THROW(simulate::writeDataset(directory.path() / "a.ds", options, [](int, int) { return false; }),
               simulate::Stopped);
  EXPECT_TRUE(names().empty());
  simulated(directory.path(), "a.ds", options);
  EXPECT_THROW(simulated(directory.path(), "a.ds", options), fs::filesystem_error);
  EXPECT_EQ(names(), std::set<std::string>{"a.ds"});
}

}  // namespace
