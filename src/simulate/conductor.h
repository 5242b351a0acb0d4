#pragma once

#include "simulate/vector3.h"

namespace ctfmeg::simulate {

// The head as a homogeneously conducting sphere, in the head frame.
inline constexpr Vector3 kConductorCentreCm{0.5, 0.0, 5.0};
inline constexpr double kConductorRadiusCm = 9.0;

// All below in metres from the sphere's centre, ampere metres, tesla, volt.

// Magnetic field at `r`, outside the sphere, of a current dipole of moment `q` at `r0` inside it.
Vector3 dipoleField(const Vector3& r0, const Vector3& q, const Vector3& r);

// Potential at `r` on the sphere of that dipole. As in an unbounded conductor, which is enough for a
// plausible size and pattern.
double dipolePotential(const Vector3& r0, const Vector3& q, const Vector3& r);

}  // namespace ctfmeg::simulate
