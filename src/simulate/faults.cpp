#include "simulate/faults.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "base/nearest.h"

namespace ctfmeg::simulate {

namespace {

constexpr std::array<std::string_view, 4> kNames{"flat", "clipped", "jump",
                                                 "noisy"};  // in the order of Fault

/// Numbers of their own, so that the other channels are what they are without faults.
Random randomOf(const Options& options, std::size_t channel) {
  constexpr std::uint64_t kFaultSeed = 0xFA017;
  return Random(options.seed ^ (kFaultSeed << 32) ^ channel);
}

/// A place in the recording's stored samples, between two shares of it and not at a border of trials, where a
/// step could be taken for what happened in a pause.
std::int64_t placeWithin(double from, double to, const Options& options, Random& random) {
  const double all = static_cast<double>(options.trials) * static_cast<double>(options.samples);
  const auto place = static_cast<std::int64_t>(all * (from + (to - from) * random.uniform()));
  const std::int64_t inTrial = place % options.samples;
  const std::int64_t margin = options.samples / 8;
  return place - inTrial + std::clamp(inTrial, margin, options.samples - 1 - margin);
}

class FaultySignal : public ChannelSignal {
 public:
  FaultySignal(std::unique_ptr<ChannelSignal> sound, Random random)
      : m_random(random), m_sound(std::move(sound)) {}

  void fill(const TimeBlock& block, Random& random, std::span<double> values) final {
    m_sound->fill(block, random, values);
    spoil(values);
    m_done += static_cast<std::int64_t>(values.size());
  }

 protected:
  /// Changes the values that follow the first `m_done` stored samples.
  virtual void spoil(std::span<double> values) = 0;

  Random m_random;
  std::int64_t m_done = 0;

 private:
  std::unique_ptr<ChannelSignal> m_sound;
};

/// One value, from the start on or from some time in the middle.
class FlatSignal : public FaultySignal {
 public:
  FlatSignal(std::unique_ptr<ChannelSignal> sound, Random random, const Options& options)
      : FaultySignal(std::move(sound), random) {
    if (m_random.coin()) m_death = placeWithin(0.3, 0.6, options, m_random);
  }

 private:
  void spoil(std::span<double> values) override {
    std::int64_t sample = m_done;
    for (double& value : values) {
      if (sample++ <= m_death) m_last = value;
      value = m_last;
    }
  }

  std::int64_t m_death = 0;  // the last sample that is measured
  double m_last = 0;
};

/// So strong that it often leaves the converter's range. What exceeds the range of the file's counts is cut
/// there.
class ClippedSignal : public FaultySignal {
 public:
  ClippedSignal(std::unique_ptr<ChannelSignal> sound, Random random, double gain)
      : FaultySignal(std::move(sound), random), m_range(0x1p31 / std::abs(gain)) {}

 private:
  void spoil(std::span<double> values) override {
    if (m_done == 0) {
      double peak = 1e-15;  // tesla
      for (const double value : values)
        peak = std::max(peak, std::abs(value));
      m_factor = 2 * m_range / peak;
    }
    for (double& value : values)
      value *= m_factor;
  }

  double m_range;
  double m_factor = 1;
};

/// Flux jumps: steps of hundreds of times the noise that stay.
class JumpingSignal : public FaultySignal {
 public:
  JumpingSignal(std::unique_ptr<ChannelSignal> sound, Random random, const Options& options)
      : FaultySignal(std::move(sound), random) {
    constexpr double kFluxQuantum = 1.2e-10;  // tesla
    for (std::size_t i = 0; i < m_jumps.size(); ++i) {
      const double third = 1.0 / static_cast<double>(m_jumps.size());
      const double from = third * static_cast<double>(i);
      m_jumps[i] = {placeWithin(from, from + third, options, m_random),
                    (m_random.coin() ? 1 : -1) * (m_random.coin() ? 1 : 2) * kFluxQuantum};
    }
  }

 private:
  struct Jump {
    std::int64_t sample = 0;
    double step = 0;
  };

  void spoil(std::span<double> values) override {
    for (const Jump& jump : m_jumps) {
      const std::int64_t from = std::max<std::int64_t>(jump.sample - m_done, 0);
      for (auto i = static_cast<std::size_t>(from); i < values.size(); ++i)
        values[i] += jump.step;
    }
  }

  std::array<Jump, 3> m_jumps;
};

/// White noise of a hundred times the usual.
class NoisySignal : public FaultySignal {
 public:
  NoisySignal(std::unique_ptr<ChannelSignal> sound, Random random, double rate)
      : FaultySignal(std::move(sound), random), m_noise(100 * sensorNoise(rate)) {}

 private:
  void spoil(std::span<double> values) override {
    for (double& value : values)
      value += m_noise * m_random.normal();
  }

  double m_noise;
};

}  // namespace

std::string_view nameOf(Fault fault) { return kNames[static_cast<std::size_t>(fault)]; }

std::vector<Fault> parseFaults(std::string_view list) {
  std::vector<Fault> faults;
  for (bool more = true; more;) {
    const std::size_t comma = list.find(',');
    const std::string_view item = list.substr(0, comma);
    more = comma != std::string_view::npos;
    if (more) list.remove_prefix(comma + 1);
    const std::size_t colon = item.find(':');
    const std::string_view count = colon == std::string_view::npos ? "1" : item.substr(colon + 1);
    const auto known = std::ranges::find(kNames, item.substr(0, colon));
    int number = 0;
    const auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), number);
    const bool counts = error == std::errc() && end == count.data() + count.size();
    if (known == kNames.end() || !counts || number < 1 || number > kMaxFaults) {
      const std::vector<std::string> names(kNames.begin(), kNames.end());
      throw std::invalid_argument("--bad takes " + listText(names) +
                                  ", each with a number such as flat:2, not \"" + std::string(item) + "\"" +
                                  nearestText(item, names));
    }
    faults.insert(faults.end(), static_cast<std::size_t>(number), static_cast<Fault>(known - kNames.begin()));
  }
  return faults;
}

std::vector<PlantedFault> plantFaults(const Options& options, const std::vector<Channel>& channels) {
  std::vector<std::size_t> free;
  for (std::size_t i = 0; i < channels.size(); ++i)
    if (channels[i].type == SensorType::gradiometer) free.push_back(i);
  if (free.size() > 1) free.pop_back();  // marked as bad in any case
  if (options.bad.size() > free.size())
    throw std::invalid_argument("--bad: " + std::to_string(options.bad.size()) +
                                " channels can't have a fault where there are " +
                                std::to_string(free.size()) + " to choose from");
  Random random = randomOf(options, channels.size());
  std::vector<PlantedFault> planted;
  for (const Fault fault : options.bad) {
    const auto chosen =
        free.begin() + static_cast<std::ptrdiff_t>(random.uniform() * static_cast<double>(free.size()));
    planted.push_back({fault, channels[*chosen].name, *chosen});
    free.erase(chosen);
  }
  return planted;
}

std::vector<PlantedFault> plantedFaults(const Options& options) {
  return plantFaults(options, makeChannels(options.channels));
}

std::unique_ptr<ChannelSignal> makeFaulty(const PlantedFault& planted, std::unique_ptr<ChannelSignal> sound,
                                          const Channel& channel, const Options& options) {
  const Random random = randomOf(options, planted.index);
  switch (planted.fault) {
    case Fault::flat:
      return std::make_unique<FlatSignal>(std::move(sound), random, options);
    case Fault::clipped:
      return std::make_unique<ClippedSignal>(std::move(sound), random, channel.gain());
    case Fault::jump:
      return std::make_unique<JumpingSignal>(std::move(sound), random, options);
    case Fault::noisy:
      break;
  }
  return std::make_unique<NoisySignal>(std::move(sound), random, options.rate);
}

}  // namespace ctfmeg::simulate
