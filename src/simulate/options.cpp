#include "simulate/options.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

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

}  // namespace

std::int64_t trialBytes(const Options& options) {
  return std::int64_t{options.channels} * options.samples * std::int64_t{sizeof(std::int32_t)};
}

int trialsPerFile(const Options& options) {
  const std::int64_t wanted = options.splitAfter > 0 ? options.splitAfter : options.trials;
  return static_cast<int>(std::min(wanted, trialsThatFit(options)));
}

void validate(const Options& options) {
  requireRange("channels", options.channels, 1, kMaxCount16);
  requireRange("trials", options.trials, 1, kMaxCount16);
  requireRange("samples", options.samples, 1, kMaxCount32);
  requireRange("splitAfter", options.splitAfter, 0, kMaxCount16);
  if (!(std::isfinite(options.rate) && options.rate > 0))
    throw std::invalid_argument("rate must be a finite number above 0");
  if (trialsThatFit(options) < 1) {
    throw std::invalid_argument("channels and samples: one trial would take " +
                                std::to_string(trialBytes(options)) +
                                " bytes, but it has to fit whole into one file below 2 GiB");
  }
}

}  // namespace ctfmeg::simulate
