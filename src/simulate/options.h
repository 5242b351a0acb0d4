#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ctfmeg::simulate {

/// A whole system: stimulus channel, system clock, 29 references, 275 helmet gradiometers, 8 electrodes and
/// 4 ADC channels.
inline constexpr int kFullSystemChannels = 318;

/// Time between two trials in which nothing was stored.
struct Pause {
  int afterTrial = 0;
  double seconds = 0;

  /// To the nearest sample.
  std::int64_t samples(double rate) const;
};

/// What can be wrong with a channel.
enum class Fault { flat, clipped, jump, noisy };
inline constexpr int kMaxFaults = 1000;  // of one kind

/// What to simulate. The same options give the same bytes on every system.
struct Options {
  /// All channels together, 1 to 32767. At least half of them (rounded up) are helmet gradiometers; the
  /// others are taken in the order stimulus, clock, first ADC, first electrode, references, remaining
  /// electrodes, remaining ADCs, so in a small system the last of these are missing first. Channels beyond a
  /// full system are further gradiometers in a denser helmet.
  int channels = kFullSystemChannels;

  int trials = 2;               // 1 to 32767
  std::int64_t samples = 1200;  // in each channel of a trial, 1 to 2^31 - 1
  double rate = 1200.0;         // samples per second, above 0 and finite

  /// Samples before the trigger in each trial. Negative, the trial begins that many samples after the
  /// trigger; samples or more, it ends before the trigger.
  std::int32_t preTrigger = 0;

  std::uint64_t seed = 1;

  /// The trials as one run: what a tone evokes goes on into the next trial. Otherwise each trial shows its
  /// own tone only; everything else goes on in any case.
  bool continuous = false;
  std::vector<Pause> pauses;  // after trials that are not the last, each trial once

  /// Noise of distant sources in references and sensors: the field's root mean square in the middle of the
  /// head, in picotesla; 0 for none.
  double commonNoise = 0;

  /// A gradiometer for each, chosen by the seed. BadChannels does not name them.
  std::vector<Fault> bad;

  std::vector<std::string> damage;  // done to the files at last, by their names in damage.h

  /// Trials in each meg4 file, 0 for as many as fit. A file stays below 2 GiB whatever this says.
  int splitAfter = 0;
};

/// Throws std::invalid_argument that names the option out of range, or the options that do not go together.
void validate(const Options& options);

/// Bytes of one trial in a meg4 file.
std::int64_t trialBytes(const Options& options);

/// Trials in each meg4 file but the last, at least 1 for valid options.
int trialsPerFile(const Options& options);

}  // namespace ctfmeg::simulate
