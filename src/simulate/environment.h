#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "simulate/channels.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

/// A magnetic dipole of 1 ampere square metre, far from the head.
struct DistantDipole {
  Vector3 positionM;  // head frame
  Vector3 direction;  // unit length
};

/// What a magnetic channel shows of it, in tesla.
double shownOf(const DistantDipole& dipole, const Channel& channel);

/// Sources of common noise, 8 to 30 m away.
inline constexpr std::size_t kDistantSources = 8;
using PerDistantSource = std::array<double, kDistantSources>;

/// What a magnetic channel shows of each for a moment of 1 ampere square metre, in tesla.
PerDistantSource distantLeadField(const Channel& channel);

/// Moments of the sources over time, in ampere square metres: each drifts at random, slowly, and hums at the
/// mains' 50 Hz. Numbers of its own, so that all else is what it is without common noise.
class Environment {
 public:
  /// `picotesla`: the root mean square of the field in the middle of the head, all sources together.
  Environment(double picotesla, double rate, std::uint64_t seed);

  /// Of the next sample, at this time of the recording.
  PerDistantSource next(double secondsInRecording);

 private:
  struct Source {
    double scale = 0;  // moment for a drift of 1
    double memory = 0;
    double renewal = 0;
    double phase = 0;  // turns
    double drift = 0;  // of deviation 1
  };

  Random m_random;
  std::array<Source, kDistantSources> m_sources;
};

}  // namespace ctfmeg::simulate
