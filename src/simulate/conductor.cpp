#include "simulate/conductor.h"

#include "simulate/magnetic_constant.h"

namespace ctfmeg::simulate {

// Sarvas 1987, Phys. Med. Biol. 32:11-22, equation 25, with a = r - r0:
//   B = mu0 / (4 pi F^2) * (F q x r0 - (q x r0 . r) grad F)
//   F = |a| (|r| |a| + |r|^2 - r0 . r)
//   grad F = (|a|^2 / |r| + a . r / |a| + 2 |a| + 2 |r|) r - (|a| + 2 |r| + a . r / |a|) r0
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

double dipolePotential(const Vector3& r0, const Vector3& q, const Vector3& r) {
  constexpr double kConductivity = 0.33;  // siemens per metre, brain
  constexpr double kFourPi = 12.566370614359172;
  const Vector3 a = r - r0;
  const double distance = norm(a);
  return dot(q, a) / (kFourPi * kConductivity * distance * distance * distance);
}

}  // namespace ctfmeg::simulate
