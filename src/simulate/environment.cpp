#include "simulate/environment.h"

#include <cmath>

#include "simulate/signals.h"

namespace ctfmeg::simulate {

namespace {

struct DriftingDipole {
  DistantDipole dipole;
  double cornerHz;  // of its drift
};

constexpr std::array<DriftingDipole, kDistantSources> kDipoles{{
    {{{6.0, 5.0, -2.0}, {0.0, 0.6, 0.8}}, 0.8},
    {{{-4.0, 7.0, 3.0}, {0.8, 0.0, 0.6}}, 0.5},
    {{{3.0, -9.0, -4.0}, {0.6, 0.8, 0.0}}, 1.5},
    {{{-9.0, -6.0, 5.0}, {0.0, 0.8, -0.6}}, 0.3},
    {{{12.0, -8.0, 3.0}, {-0.6, 0.0, 0.8}}, 1.0},
    {{{-8.0, 15.0, -5.0}, {0.8, -0.6, 0.0}}, 0.4},
    {{{10.0, 18.0, 8.0}, {0.0, 0.0, 1.0}}, 2.0},
    {{{-20.0, -21.0, -4.0}, {0.6, 0.0, -0.8}}, 0.2},
}};

/// B = mu0 / (4 pi r^3) (3 (m . e) e - m) at distance r in the direction e from a magnetic dipole m.
Vector3 fieldOf(const DistantDipole& dipole, const Vector3& positionM) {
  constexpr double kMu0Over4Pi = 1e-7;  // tesla metre per ampere
  const Vector3 fromDipole = positionM - dipole.positionM;
  const double distance = norm(fromDipole);
  const Vector3 e = unit(fromDipole);
  const Vector3& m = dipole.direction;
  return kMu0Over4Pi / (distance * distance * distance) * (3 * dot(m, e) * e - m);
}

}  // namespace

double shownOf(const DistantDipole& dipole, const Channel& channel) {
  double sum = 0;
  for (const Coil& coil : channel.headCoils)
    sum += dot(coil.orientation, fieldOf(dipole, kMetresPerCm * coil.positionCm));
  return channel.shown(sum);
}

PerDistantSource distantLeadField(const Channel& channel) {
  PerDistantSource lead{};
  for (std::size_t i = 0; i < lead.size(); ++i)
    lead[i] = shownOf(kDipoles[i].dipole, channel);
  return lead;
}

Environment::Environment(double picotesla, double rate, std::uint64_t seed) : m_random(seed ^ 0xE41204E7) {
  constexpr double kTwoPi = 6.283185307179586;
  const double each = picotesla * 1e-12 / std::sqrt(static_cast<double>(kDistantSources));
  for (std::size_t i = 0; i < m_sources.size(); ++i) {
    Source& source = m_sources[i];
    source.scale = each / norm(fieldOf(kDipoles[i].dipole, kMetresPerCm * kConductorCentreCm));
    source.memory = 1 / (1 + kTwoPi * kDipoles[i].cornerHz / rate);
    source.renewal = std::sqrt(1 - source.memory * source.memory);
    source.phase = m_random.uniform();
    source.drift = m_random.normal();
  }
}

PerDistantSource Environment::next(double secondsInRecording) {
  constexpr double kMainsHz = 50.0;
  constexpr double kHum = 0.2;  // its height, for a drift of deviation 1
  PerDistantSource moments{};
  for (std::size_t i = 0; i < m_sources.size(); ++i) {
    Source& source = m_sources[i];
    source.drift = source.memory * source.drift + source.renewal * m_random.normal();
    moments[i] =
        source.scale * (source.drift + kHum * sineOfTurns(source.phase + kMainsHz * secondsInRecording));
  }
  return moments;
}

}  // namespace ctfmeg::simulate
