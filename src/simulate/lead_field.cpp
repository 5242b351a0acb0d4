#include "simulate/lead_field.h"

#include <cstddef>
#include <functional>

#include "simulate/conductor.h"
#include "simulate/magnetic_constant.h"

namespace ctfmeg::simulate {

namespace {

constexpr double kMetresPerCm = 0.01;

struct CurrentDipole {
  Vector3 positionCm;  // head frame
  Vector3 direction;   // unit length
};
constexpr std::array<CurrentDipole, 3> kCurrentDipoles{{
    {{1.0, 5.4, 5.6}, {0.0, 0.0, 1.0}},
    {{1.4, -5.2, 5.4}, {0.0, 0.0, 1.0}},
    {{-5.6, 0.9, 7.2}, {0.0, 0.8, 0.6}},
}};

struct Machine {
  Vector3 positionM;  // head frame
  Vector3 direction;  // unit length
};
constexpr std::array<Machine, 3> kMachines{{
    {{8.0, 3.0, -2.0}, {0.0, 0.0, 1.0}},
    {{-5.0, -7.0, 1.0}, {0.6, 0.8, 0.0}},
    {{2.0, 9.0, -4.0}, {0.0, 0.6, -0.8}},
}};
static_assert(kCurrentDipoles.size() + kMachines.size() == kSources);

// Metres from the middle of the conductor.
Vector3 fromConductor(const Vector3& headCm) { return kMetresPerCm * (headCm - kConductorCentreCm); }

// B = mu0 / (4 pi r^3) (3 (m . e) e - m) at distance r in the direction e from a magnetic dipole m.
Vector3 magneticDipoleField(const Vector3& m, const Vector3& fromDipole) {
  const double distance = norm(fromDipole);
  const Vector3 e = unit(fromDipole);
  return kMu0Over4Pi / (distance * distance * distance) * (3 * dot(m, e) * e - m);
}

using FieldAtHeadCm = std::function<Vector3(const Vector3&)>;

double seenByCoils(const Channel& channel, const FieldAtHeadCm& field) {
  double sum = 0;
  for (const Coil& coil : channel.headCoils)
    sum += dot(coil.orientation, field(coil.positionCm));
  return channel.gain() > 0 ? -sum : sum;
}

PerSource magneticLeadField(const Channel& channel) {
  PerSource lead{};
  std::size_t source = 0;
  for (const CurrentDipole& dipole : kCurrentDipoles) {
    lead[source++] = seenByCoils(channel, [&dipole](const Vector3& headCm) {
      return dipoleField(fromConductor(dipole.positionCm), dipole.direction, fromConductor(headCm));
    });
  }
  for (const Machine& machine : kMachines) {
    lead[source++] = seenByCoils(channel, [&machine](const Vector3& headCm) {
      return magneticDipoleField(machine.direction, kMetresPerCm * headCm - machine.positionM);
    });
  }
  return lead;
}

PerSource electricLeadField(const Channel& channel) {
  PerSource lead{};
  std::size_t source = 0;
  for (const CurrentDipole& dipole : kCurrentDipoles) {
    lead[source++] = dipolePotential(fromConductor(dipole.positionCm), dipole.direction,
                                     fromConductor(channel.headCoils.front().positionCm));
  }
  return lead;
}

}  // namespace

PerSource leadField(const Channel& channel) {
  if (measuresField(channel.type)) return magneticLeadField(channel);
  if (channel.type == SensorType::eeg) return electricLeadField(channel);
  return {};
}

}  // namespace ctfmeg::simulate
