#include "simulate/source_activity.h"

#include <cmath>

#include "simulate/sine.h"

namespace ctfmeg::simulate {

namespace {

constexpr double kNanoampereMetre = 1e-9;
constexpr double kResponseVariation = 0.1;

constexpr double kAlphaMoment = 25 * kNanoampereMetre;
constexpr double kAlphaHz = 10.0;
constexpr double kAlphaWaxingHz = 0.17;
constexpr double kAlphaInAuditoryCortex = 0.15;

// At distances of some metres these make fields of tens of picotesla.
constexpr double kMachineMoment = 0.12;  // ampere square metres
constexpr double kElevatorHz = 0.11;
constexpr double kTrolleyHz = 0.23;
constexpr double kTrafficHz = 0.37;

// A smooth hump of height 1 at `centre`, 0 from `halfWidth` on.
double hump(double seconds, double centre, double halfWidth) {
  const double distance = std::abs(seconds - centre) / halfWidth;
  return distance < 1 ? 0.5 + 0.5 * cosineOfTurns(distance / 2) : 0.0;
}

// The deflections that follow a tone by about 50, 100 and 200 ms.
double auditoryResponse(double seconds) {
  return kNanoampereMetre *
         (12 * hump(seconds, 0.05, 0.03) - 40 * hump(seconds, 0.1, 0.05) + 25 * hump(seconds, 0.2, 0.09));
}

}  // namespace

SourceActivity::SourceActivity(Random& random) {
  for (double& phase : phases_)
    phase = random.uniform();
}

void SourceActivity::beginTrial(Random& random) {
  responseStrength_ = 1 + kResponseVariation * random.normal();
}

PerSource SourceActivity::at(double secondsAfterTrigger, double secondsInRecording) const {
  const auto wave = [this, secondsInRecording](Source source, double frequency) {
    return sineOfTurns(phases_[source] + frequency * secondsInRecording);
  };
  constexpr double kLaterOnTheRight = 0.008;  // seconds
  constexpr double kWeakerOnTheRight = 0.8;
  const double waxing = 1 + 0.5 * sineOfTurns(kAlphaWaxingHz * secondsInRecording);
  const double alpha = kAlphaMoment * waxing;

  PerSource moments{};
  moments[leftAuditory] = responseStrength_ * auditoryResponse(secondsAfterTrigger) +
                          kAlphaInAuditoryCortex * alpha * wave(leftAuditory, kAlphaHz);
  moments[rightAuditory] =
      responseStrength_ * kWeakerOnTheRight * auditoryResponse(secondsAfterTrigger - kLaterOnTheRight) +
      kAlphaInAuditoryCortex * alpha * wave(rightAuditory, kAlphaHz);
  moments[occipital] = alpha * wave(occipital, kAlphaHz);
  moments[elevator] = kMachineMoment * wave(elevator, kElevatorHz);
  moments[trolley] = kMachineMoment * wave(trolley, kTrolleyHz);
  moments[traffic] = kMachineMoment * wave(traffic, kTrafficHz);
  return moments;
}

}  // namespace ctfmeg::simulate
