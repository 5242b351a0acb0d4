#pragma once

#include <memory>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>
#include <ctfmeg/selection.h>

// Gradient compensation: weighted sums of the reference channels are subtracted from the MEG channels, which
// are then blind to distant sources. The weights of order k (1 to 3) are the dataset's coefficients of type
// GkBR, c. They are for fluxes, phi = raw / (qGain x ioGain):
//
//   phi_m' = phi_m - sum over the references r of c x phi_r
//
// which in tesla, raw / gain, is
//
//   T_m' = T_m - sum over the references r of c x (properGain_r / properGain_m) x T_r.
//
// The references stay as they are, so that a compensation can be undone. Coefficients and references are
// matched by full name, else by short name.

namespace ctfmeg {
inline namespace v1 {

/// The weight of one reference in a compensation.
struct ReferenceWeight {
  int reference = 0;   ///< its place in `Recording::channels()`
  double flux = 0.0;   ///< of its flux, in the sensor's flux: the coefficient
  double tesla = 0.0;  ///< of its physical value, in the sensor's
};

/// What is subtracted from one MEG channel.
struct SensorWeights {
  int channel = 0;  ///< its place in `Recording::channels()`
  std::vector<ReferenceWeight> references{};
};

/// The weights that bring each MEG channel among those chosen from no compensation to `order` 0 to 3,
/// whatever order it is stored in; none for order 0. A forward model subtracts the fields at the references
/// likewise, by `tesla`. Throws `Error` naming the channel and the coefficients or the reference that are
/// missing, and std::invalid_argument for another order.
CTFMEG_API std::vector<SensorWeights> compensationWeights(const Recording& recording, int order,
                                                          const Selection& selection = {});

/// The samples that a selection leaves, with MEG channels brought to `order` 0 to 3, each from the order that
/// it is stored in, and all other channels as they are. Values are physical; reading raw ones throws
/// std::invalid_argument. References are read where they are needed, chosen or not. Windows are read by so
/// many threads (0: as many as pay), a little at a time. Missing where the channel or a reference that it
/// needs is missing. Throws what `Recording::samples` and `compensationWeights` throw, and `Error` for a
/// channel whose stored order is not one of 0 to 3.
CTFMEG_API std::shared_ptr<const SampleSource> compensated(const Recording& recording,
                                                           const Selection& selection, int order,
                                                           int threads = 0);

}  // namespace v1
}  // namespace ctfmeg
