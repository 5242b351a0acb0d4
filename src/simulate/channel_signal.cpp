#include "simulate/channel_signal.h"

#include <cmath>
#include <cstddef>

#include "simulate/sine.h"

namespace ctfmeg::simulate {

namespace {

double mix(const PerSource& lead, const PerSource& moments) {
  double sum = 0;
  for (std::size_t source = 0; source < lead.size(); ++source)
    sum += lead[source] * moments[source];
  return sum;
}

// Deviation of white noise with `density` units per root hertz, sampled at `rate`.
double whiteNoiseDeviation(double density, double rate) { return density * std::sqrt(rate / 2); }

class FieldSignal : public ChannelSignal {
 public:
  FieldSignal(const Channel& channel, double rate)
      : lead_(leadField(channel)), noise_(whiteNoiseDeviation(kNoiseDensity, rate)) {}

  void fill(const TimeBlock& block, Random& random, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = mix(lead_, block.moments[i]) + noise_ * random.normal();
    }
  }

 private:
  static constexpr double kNoiseDensity = 5e-15;  // tesla per root hertz

  PerSource lead_;
  double noise_;
};

// Source activity on top of the slow random background of the whole brain.
class ElectrodeSignal : public ChannelSignal {
 public:
  ElectrodeSignal(const Channel& channel, double rate)
      : lead_(leadField(channel)),
        memory_(1 / (1 + kTwoPi * kBackgroundHz / rate)),
        renewal_(kBackgroundVolt * std::sqrt(1 - memory_ * memory_)),
        noise_(whiteNoiseDeviation(kNoiseDensity, rate)) {}

  void fill(const TimeBlock& block, Random& random, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) {
      background_ = memory_ * background_ + renewal_ * random.normal();
      values[i] = mix(lead_, block.moments[i]) + background_ + noise_ * random.normal();
    }
  }

 private:
  static constexpr double kTwoPi = 6.283185307179586;
  static constexpr double kBackgroundVolt = 8e-6;
  static constexpr double kBackgroundHz = 3.0;
  static constexpr double kNoiseDensity = 2e-8;  // volt per root hertz

  PerSource lead_;
  double memory_;   // first-order low-pass: the share of the last sample's background that is still there,
  double renewal_;  // and the new share that keeps its deviation constant
  double noise_;
  double background_ = 0;
};

class StimulusSignal : public ChannelSignal {
 public:
  void fill(const TimeBlock& block, Random& /*random*/, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double seconds = block.secondsAfterTrigger(i);
      values[i] = seconds >= 0 && seconds < kPulseSeconds ? kCode : 0.0;
    }
  }

 private:
  static constexpr double kPulseSeconds = 0.01;
  static constexpr double kCode = 1;
};

class ClockSignal : public ChannelSignal {
 public:
  void fill(const TimeBlock& block, Random& /*random*/, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i)
      values[i] = block.secondsInRecording(i);
  }
};

// A slow sine, as of a breathing belt.
class AdcSignal : public ChannelSignal {
 public:
  explicit AdcSignal(std::size_t index) : phase_(static_cast<double>(index) * kPhaseStep) {}

  void fill(const TimeBlock& block, Random& /*random*/, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = kVolt * sineOfTurns(phase_ + kHz * block.secondsInRecording(i));
    }
  }

 private:
  static constexpr double kVolt = 1.0;
  static constexpr double kHz = 0.3;
  static constexpr double kPhaseStep = 0.125;  // turns between neighbouring channels

  double phase_;
};

}  // namespace

std::unique_ptr<ChannelSignal> makeSignal(const Channel& channel, std::size_t index, double rate) {
  switch (channel.type) {
    case SensorType::eeg:
      return std::make_unique<ElectrodeSignal>(channel, rate);
    case SensorType::stimulus:
      return std::make_unique<StimulusSignal>();
    case SensorType::systemClock:
      return std::make_unique<ClockSignal>();
    case SensorType::adc:
      return std::make_unique<AdcSignal>(index);
    case SensorType::referenceMagnetometer:
    case SensorType::referenceGradiometer:
    case SensorType::gradiometer:
      break;
  }
  return std::make_unique<FieldSignal>(channel, rate);
}

}  // namespace ctfmeg::simulate
