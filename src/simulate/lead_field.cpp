#include <cstddef>

#include "simulate/environment.h"
#include "simulate/signals.h"

namespace ctfmeg::simulate {

namespace {

// Positions in metres from the middle of the conductor, moments in ampere metres (of a machine ampere square
// metres), fields in tesla, potentials in volt.

constexpr double kMu0Over4Pi = 1e-7;  // tesla metre per ampere

/// Magnetic field at `r`, outside the sphere, of a current dipole of moment `q` at `r0` inside it: Sarvas
/// 1987, Phys. Med. Biol. 32:11-22, equation 25, with a = r - r0:
///   B = mu0 / (4 pi F^2) * (F q x r0 - (q x r0 . r) grad F)
///   F = |a| (|r| |a| + |r|^2 - r0 . r)
///   grad F = (|a|^2 / |r| + a . r / |a| + 2 |a| + 2 |r|) r - (|a| + 2 |r| + a . r / |a|) r0
Vector3 dipoleField(const Vector3& r0, const Vector3& q, const Vector3& r) {
  const Vector3 a = r - r0;
  const double lengthA = norm(a);
  const double lengthR = norm(r);
  const double aDotR = dot(a, r);
  const double f = lengthA * (lengthR * lengthA + dot(r, r) - dot(r0, r));
  const Vector3 gradF = (lengthA * lengthA / lengthR + aDotR / lengthA + 2 * lengthA + 2 * lengthR) * r -
                        (lengthA + 2 * lengthR + aDotR / lengthA) * r0;
  const Vector3 qCrossR0 = cross(q, r0);
  return kMu0Over4Pi / (f * f) * (f * qCrossR0 - dot(qCrossR0, r) * gradF);
}

/// Potential at `r` on the sphere of that dipole: as in an unbounded conductor, which is enough for a
/// plausible size and pattern.
double dipolePotential(const Vector3& r0, const Vector3& q, const Vector3& r) {
  constexpr double kConductivity = 0.33;  // siemens per metre, brain
  constexpr double kFourPi = 12.566370614359172;
  const Vector3 a = r - r0;
  const double distance = norm(a);
  return dot(q, a) / (kFourPi * kConductivity * distance * distance * distance);
}

struct CurrentDipole {
  Vector3 positionCm;  // head frame
  Vector3 direction;   // unit length
};
constexpr std::array<CurrentDipole, 3> kCurrentDipoles{{
    {{1.0, 5.4, 5.6}, {0.0, 0.0, 1.0}},
    {{1.4, -5.2, 5.4}, {0.0, 0.0, 1.0}},
    {{-5.6, 0.9, 7.2}, {0.0, 0.8, 0.6}},
}};

constexpr std::array<DistantDipole, 3> kMachines{{
    {{8.0, 3.0, -2.0}, {0.0, 0.0, 1.0}},
    {{-5.0, -7.0, 1.0}, {0.6, 0.8, 0.0}},
    {{2.0, 9.0, -4.0}, {0.0, 0.6, -0.8}},
}};
static_assert(kCurrentDipoles.size() + kMachines.size() == kSources);

/// Metres from the middle of the conductor.
Vector3 fromConductor(const Vector3& headCm) { return kMetresPerCm * (headCm - kConductorCentreCm); }

double seenByCoils(const CurrentDipole& dipole, const Channel& channel) {
  double sum = 0;
  for (const Coil& coil : channel.headCoils)
    sum += dot(coil.orientation, dipoleField(fromConductor(dipole.positionCm), dipole.direction,
                                             fromConductor(coil.positionCm)));
  return channel.shown(sum);
}

PerSource magneticLeadField(const Channel& channel) {
  PerSource lead{};
  std::size_t source = 0;
  for (const CurrentDipole& dipole : kCurrentDipoles)
    lead[source++] = seenByCoils(dipole, channel);
  for (const DistantDipole& machine : kMachines)
    lead[source++] = shownOf(machine, channel);
  return lead;
}

PerSource electricLeadField(const Channel& channel) {
  PerSource lead{};
  std::size_t source = 0;
  for (const CurrentDipole& dipole : kCurrentDipoles)
    lead[source++] = dipolePotential(fromConductor(dipole.positionCm), dipole.direction,
                                     fromConductor(channel.headCoils.front().positionCm));
  return lead;
}

}  // namespace

PerSource leadField(const Channel& channel) {
  if (measuresField(channel.type)) return magneticLeadField(channel);
  if (channel.type == SensorType::eeg) return electricLeadField(channel);
  return {};
}

}  // namespace ctfmeg::simulate
