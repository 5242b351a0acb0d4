#include "simulate/options.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>

#include "simulate/channels.h"
#include "simulate/damage.h"
#include "simulate/faults.h"
#include "simulate/files.h"

namespace ctfmeg::simulate {

namespace {

/// The header keeps the channel and trial counts in 16 bits and the samples in 32, all signed.
constexpr std::int64_t kMaxCount16 = std::numeric_limits<std::int16_t>::max();
constexpr std::int64_t kMaxCount32 = std::numeric_limits<std::int32_t>::max();

/// Readers hold file positions in 32 signed bits.
constexpr std::int64_t kMaxFileBytes = std::numeric_limits<std::int32_t>::max();

void requireRange(const char* option, std::int64_t value, std::int64_t low, std::int64_t high) {
  if (value >= low && value <= high) return;
  throw std::invalid_argument(std::string(option) + " must be " + std::to_string(low) + " to " +
                              std::to_string(high) + ", not " + std::to_string(value));
}

std::int64_t trialsThatFit(const Options& options) {
  return (kMaxFileBytes - kMeg4HeaderBytes) / trialBytes(options);
}

/// The clock channel counts in 32 bits as well, and must reach the end of the recording.
void requirePauses(const Options& options) {
  std::set<int> trials;
  double samples = static_cast<double>(options.trials) * static_cast<double>(options.samples);
  for (const Pause& pause : options.pauses) {
    const std::string text = "--gap after trial " + std::to_string(pause.afterTrial);
    if (options.trials < 2) throw std::invalid_argument("--gap needs two trials or more");
    requireRange("--gap: the trial", pause.afterTrial, 0, options.trials - 2);
    if (!trials.insert(pause.afterTrial).second) throw std::invalid_argument(text + " is there twice");
    const double length = pause.seconds * options.rate;
    if (!(length >= 0.5)) throw std::invalid_argument(text + " is shorter than a sample");
    samples += length;
  }
  if (!options.pauses.empty() && !(samples / options.rate < kMaxCount32 / kClockTicksPerSecond))
    throw std::invalid_argument("--gap: the clock can't count on to the end of so long a recording");
}

}  // namespace

std::int64_t Pause::samples(double rate) const { return std::llround(seconds * rate); }

std::int64_t trialBytes(const Options& options) {
  return std::int64_t{options.channels} * options.samples * std::int64_t{sizeof(std::int32_t)};
}

int trialsPerFile(const Options& options) {
  const std::int64_t wanted = options.splitAfter > 0 ? options.splitAfter : options.trials;
  return static_cast<int>(std::min(wanted, trialsThatFit(options)));
}

void validate(const Options& options) {
  requireRange("--channels", options.channels, 1, kMaxCount16);
  requireRange("--trials", options.trials, 1, kMaxCount16);
  requireRange("--samples", options.samples, 1, kMaxCount32);
  requireRange("--split-after", options.splitAfter, 0, kMaxCount16);
  if (!(std::isfinite(options.rate) && options.rate > 0))
    throw std::invalid_argument("--rate must be a finite number above 0");
  constexpr double kMostNoise = 1e6;
  if (!(options.commonNoise >= 0 && options.commonNoise <= kMostNoise))
    throw std::invalid_argument("--common-noise must be at most 1000000 picotesla");
  requirePauses(options);
  if (trialsThatFit(options) < 1) {
    throw std::invalid_argument("--channels and --samples: one trial would take " +
                                std::to_string(trialBytes(options)) +
                                " bytes, but it has to fit whole into one file below 2 GiB");
  }
  validateDamage(options);
  if (!options.bad.empty()) plantedFaults(options);  // throws when there are too few channels
}

}  // namespace ctfmeg::simulate
