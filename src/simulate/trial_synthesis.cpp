#include "simulate/trial_synthesis.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "simulate/big_endian.h"
#include "simulate/time_block.h"

namespace ctfmeg::simulate {

namespace {

// Samples computed at once: the moments of all sources stay in the processor's cache for all channels.
constexpr std::int64_t kBlockSamples = 512;

std::int32_t toCounts(double value) {
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  if (value >= kHighest) return std::numeric_limits<std::int32_t>::max();
  if (!(value > kLowest)) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value + (value < 0 ? -0.5 : 0.5));  // half away from zero
}

}  // namespace

TrialSynthesis::TrialSynthesis(const Options& options, const std::vector<Channel>& channels)
    : options_(options),
      random_(options.seed),
      activity_(random_),
      moments_(kBlockSamples),
      values_(kBlockSamples),
      bytes_(static_cast<std::size_t>(trialBytes(options))) {
  for (const Channel& channel : channels) {
    rows_.push_back({makeSignal(channel, rows_.size(), options.rate), channel.gain()});
  }
}

std::span<const char> TrialSynthesis::nextTrial() {
  activity_.beginTrial(random_);
  for (std::int64_t first = 0; first < options_.samples; first += kBlockSamples) {
    const auto samples = static_cast<std::size_t>(std::min(kBlockSamples, options_.samples - first));
    TimeBlock block;
    block.rate = options_.rate;
    block.firstAfterTrigger = first - options_.preTrigger;
    block.firstInRecording = trialsDone_ * options_.samples + first;
    fillMoments(block, samples);
    fillCounts(block, first);
  }
  ++trialsDone_;
  return bytes_;
}

void TrialSynthesis::fillMoments(TimeBlock& block, std::size_t samples) {
  for (std::size_t i = 0; i < samples; ++i) {
    moments_[i] = activity_.at(block.secondsAfterTrigger(i), block.secondsInRecording(i));
  }
  block.moments = std::span(moments_).first(samples);
}

void TrialSynthesis::fillCounts(const TimeBlock& block, std::int64_t firstInTrial) {
  const std::span<double> values = std::span(values_).first(block.moments.size());
  std::int64_t sampleIndex = firstInTrial;
  for (const Row& row : rows_) {
    row.signal->fill(block, random_, values);
    char* out = bytes_.data() + sampleIndex * std::int64_t{sizeof(std::int32_t)};
    for (const double value : values)
      out = putBigEndian(toCounts(value * row.gain), out);
    sampleIndex += options_.samples;
  }
}

}  // namespace ctfmeg::simulate
