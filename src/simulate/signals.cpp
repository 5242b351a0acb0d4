#include "simulate/signals.h"

#include <cmath>

namespace ctfmeg::simulate {

double sineOfTurns(double turns) {
  double r = turns - std::floor(turns + 0.5);
  if (r > 0.25) r = 0.5 - r;
  if (r < -0.25) r = -0.5 - r;
  constexpr double kTwoPi = 6.283185307179586;
  const double y = kTwoPi * r;
  const double y2 = y * y;
  double nested = 1.0;  // the Taylor series up to y^15 / 15!, from its end
  for (int n = 15; n >= 3; n -= 2)
    nested = 1.0 - nested * y2 / (n * (n - 1));
  return y * nested;
}

namespace {

double cosineOfTurns(double turns) { return sineOfTurns(turns + 0.25); }

constexpr double kNanoampereMetre = 1e-9;

constexpr double kAlphaMoment = 25 * kNanoampereMetre;
constexpr double kAlphaHz = 10.0;
constexpr double kAlphaWaxingHz = 0.17;
constexpr double kAlphaInAuditoryCortex = 0.15;

/// At distances of some metres these make fields of tens of picotesla.
constexpr double kMachineMoment = 0.12;  // ampere square metres
constexpr double kElevatorHz = 0.11;
constexpr double kTrolleyHz = 0.23;
constexpr double kTrafficHz = 0.37;

/// A smooth hump of height 1 at `centre`, 0 from `halfWidth` on.
double hump(double seconds, double centre, double halfWidth) {
  const double distance = std::abs(seconds - centre) / halfWidth;
  return distance < 1 ? 0.5 + 0.5 * cosineOfTurns(distance / 2) : 0.0;
}

/// The deflections that follow a tone by about 50, 100 and 200 ms.
double auditoryResponse(double seconds) {
  return kNanoampereMetre *
         (12 * hump(seconds, 0.05, 0.03) - 40 * hump(seconds, 0.1, 0.05) + 25 * hump(seconds, 0.2, 0.09));
}

template <class PerAny>
double mix(const PerAny& lead, const PerAny& moments) {
  double sum = 0;
  for (std::size_t source = 0; source < lead.size(); ++source)
    sum += lead[source] * moments[source];
  return sum;
}

/// Deviation of white noise with `density` units per root hertz, sampled at `rate`.
double whiteNoiseDeviation(double density, double rate) { return density * std::sqrt(rate / 2); }

class FieldSignal : public ChannelSignal {
 public:
  FieldSignal(const Channel& channel, double rate)
      : m_lead(leadField(channel)), m_distant(distantLeadField(channel)), m_noise(sensorNoise(rate)) {}

  void fill(const TimeBlock& block, Random& random, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i)
      values[i] = mix(m_lead, block.moments[i]) + m_noise * random.normal();
    for (std::size_t i = 0; i < block.distantMoments.size(); ++i)
      values[i] += mix(m_distant, block.distantMoments[i]);
  }

 private:
  PerSource m_lead;
  PerDistantSource m_distant;
  double m_noise;
};

/// Source activity on top of the slow random background of the whole brain.
class ElectrodeSignal : public ChannelSignal {
 public:
  ElectrodeSignal(const Channel& channel, double rate)
      : m_lead(leadField(channel)),
        m_memory(1 / (1 + kTwoPi * kBackgroundHz / rate)),
        m_renewal(kBackgroundVolt * std::sqrt(1 - m_memory * m_memory)),
        m_noise(whiteNoiseDeviation(kNoiseDensity, rate)) {}

  void fill(const TimeBlock& block, Random& random, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) {
      m_background = m_memory * m_background + m_renewal * random.normal();
      values[i] = mix(m_lead, block.moments[i]) + m_background + m_noise * random.normal();
    }
  }

 private:
  static constexpr double kTwoPi = 6.283185307179586;
  static constexpr double kBackgroundVolt = 8e-6;
  static constexpr double kBackgroundHz = 3.0;
  static constexpr double kNoiseDensity = 2e-8;  // volt per root hertz

  PerSource m_lead;
  double m_memory;   // first-order low-pass: the share of the last sample's background that is still there,
  double m_renewal;  // and the new share that keeps its deviation constant
  double m_noise;
  double m_background = 0;
};

class StimulusSignal : public ChannelSignal {
 public:
  void fill(const TimeBlock& block, Random& /*random*/, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = 0;
      for (const Trigger& trigger : block.triggers) {
        const double seconds = block.secondsAfter(trigger, i);
        if (seconds >= 0 && seconds < kPulseSeconds) values[i] = kCode;
      }
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

/// A slow sine, as of a breathing belt.
class AdcSignal : public ChannelSignal {
 public:
  explicit AdcSignal(std::size_t index) : m_phase(static_cast<double>(index) * kPhaseStep) {}

  void fill(const TimeBlock& block, Random& /*random*/, std::span<double> values) override {
    for (std::size_t i = 0; i < values.size(); ++i)
      values[i] = kVolt * sineOfTurns(m_phase + kHz * block.secondsInRecording(i));
  }

 private:
  static constexpr double kVolt = 1.0;
  static constexpr double kHz = 0.3;
  static constexpr double kPhaseStep = 0.125;  // turns between neighbouring channels

  double m_phase;
};

}  // namespace

SourceActivity::SourceActivity(Random& random) {
  for (double& phase : m_phases)
    phase = random.uniform();
}

PerSource SourceActivity::at(double secondsInRecording, std::span<const Tone> tones) const {
  const auto wave = [this, secondsInRecording](Source source, double frequency) {
    return sineOfTurns(m_phases[source] + frequency * secondsInRecording);
  };
  constexpr double kLaterOnTheRight = 0.008;  // seconds
  constexpr double kWeakerOnTheRight = 0.8;
  const double waxing = 1 + 0.5 * sineOfTurns(kAlphaWaxingHz * secondsInRecording);
  const double alpha = kAlphaMoment * waxing;

  PerSource moments{};
  for (const Tone& tone : tones) {
    moments[leftAuditory] += tone.strength * auditoryResponse(tone.secondsAgo);
    moments[rightAuditory] +=
        tone.strength * kWeakerOnTheRight * auditoryResponse(tone.secondsAgo - kLaterOnTheRight);
  }
  moments[leftAuditory] += kAlphaInAuditoryCortex * alpha * wave(leftAuditory, kAlphaHz);
  moments[rightAuditory] += kAlphaInAuditoryCortex * alpha * wave(rightAuditory, kAlphaHz);
  moments[occipital] = alpha * wave(occipital, kAlphaHz);
  moments[elevator] = kMachineMoment * wave(elevator, kElevatorHz);
  moments[trolley] = kMachineMoment * wave(trolley, kTrolleyHz);
  moments[traffic] = kMachineMoment * wave(traffic, kTrafficHz);
  return moments;
}

double sensorNoise(double rate) {
  constexpr double kNoiseDensity = 5e-15;  // tesla per root hertz
  return whiteNoiseDeviation(kNoiseDensity, rate);
}

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
