#pragma once

#include <cmath>

namespace ctfmeg::simulate {

// sin(2 pi turns) to 1e-11. The last bits of libm's sine differ between systems; this uses exact and
// correctly rounded operations only.
inline double sineOfTurns(double turns) {
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

inline double cosineOfTurns(double turns) { return sineOfTurns(turns + 0.25); }

}  // namespace ctfmeg::simulate
