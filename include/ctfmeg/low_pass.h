#pragma once

#include <memory>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/samples.h>

// What has to be taken out of samples of which only every `factor`-th is kept: all frequencies above half of
// the new sample rate (the new Nyquist frequency, f), which would else be seen as lower ones. The filter is
// the sinc of an ideal low-pass that ends at 0.8 f, in a Kaiser window, which leaves frequencies up to
// 0.6 f as they are, halves 0.8 f and takes away all but 1/10000 (80 dB) of those from f on:
//
//   w[k] = c x sinc(0.8 k / factor) x I0(b x sqrt(1 - (k / h)^2)),  k = -h to h
//
// with sinc(x) = sin(pi x) / (pi x), h = 13 x factor, b = 8.078, the modified Bessel function I0, and c such
// that the weights sum to 1. b and h are those of J. F. Kaiser (Nonrecursive digital filter design using the
// I0-sinh window function, Proc. IEEE Int. Symp. Circuits and Systems, 1974, 20-23) for A = 82 dB and a
// transition of 0.4 f: b = 0.1102 (A - 8.7), and 2 h = (A - 7.95) / (2.285 pi x 0.4 / factor) = 25.8 x
// factor, rounded up. 2 dB are to spare because his formulas are fits.

namespace ctfmeg {
inline namespace v1 {

/// The weights of the samples from 13 x factor before to 13 x factor after; 1 for a factor of 1. They are
/// symmetric and sum to 1. Throws std::invalid_argument for a factor below 1.
CTFMEG_API std::vector<double> lowPassWeights(int factor);

/// The samples of a source, as many at the same rate, each filtered so that every `factor`-th may be taken;
/// with a factor of 1 the source itself. The filter is symmetric, so it delays nothing. A window costs the
/// products of its own samples and the reading of 13 x factor more at each end; memory does not depend on the
/// window, and grows with the factor beyond 1000. Windows are read by so many threads (0: as many as pay).
/// Values are physical; reading raw ones throws std::invalid_argument.
///
/// Trials are filtered by themselves, and a run on each side of a gap, as are values between missing ones,
/// which stay missing. Such a stretch x[0] to x[n - 1] goes on beyond its ends as 2 x[0] - x[i] does before
/// it, for i = 1, 2 and so on, and likewise after it, so that straight lines stay what they are. It must have
/// 13 x factor + 1 samples. Throws `Error`, without a path, for a shorter trial or one between two gaps;
/// where values are missing (`hasMissing`), it is found when it is read, which throws the same.
CTFMEG_API std::shared_ptr<const SampleSource> lowPassed(std::shared_ptr<const SampleSource> source,
                                                         int factor, int threads = 0);

}  // namespace v1
}  // namespace ctfmeg
