#include "recording/physical.h"

#include <cmath>

#include "base/wide_instructions.h"

namespace ctfmeg {
namespace {

/// Multiplies by 1 / divisor, which alone gives other last digits than a division, and mends them: the first
/// step leaves the quotient less than a digit off, and from there the second finds the nearest one
/// (Markstein, IBM J. Res. Dev. 34, 1990). A division takes the machine several times as long as all of this.
WIDE_INSTRUCTIONS void divideEachWide(std::span<const std::int32_t> values, double divisor,
                                      std::span<double> out) {
  const double inverse = 1.0 / divisor;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double value = values[i];
    double quotient = value * inverse;
    quotient = std::fma(std::fma(-quotient, divisor, value), inverse, quotient);
    out[i] = std::fma(std::fma(-quotient, divisor, value), inverse, quotient);
  }
}

/// Whether all steps stay among the numbers that have all their digits.
bool isModerate(double divisor) {
  const double size = std::abs(divisor);
  return size > 0x1p-900 && size < 0x1p900;
}

}  // namespace

void divideEachPlainly(std::span<const std::int32_t> values, double divisor, std::span<double> out) {
  for (std::size_t i = 0; i < values.size(); ++i)
    out[i] = values[i] / divisor;
}

void divideEach(std::span<const std::int32_t> values, double divisor, std::span<double> out) {
  if (machineHasWideInstructions() && isModerate(divisor))
    divideEachWide(values, divisor, out);
  else
    divideEachPlainly(values, divisor, out);
}

}  // namespace ctfmeg
