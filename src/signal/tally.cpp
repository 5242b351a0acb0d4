#include "signal/tally.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace ctfmeg {
namespace {

constexpr double kFractions = 256.0;  // parts of 1 that sizes near 0 are told apart by

SamplePlace operator+(SamplePlace place, std::int64_t samples) {
  return {place.trial, place.sample + samples};
}

}  // namespace

std::size_t SizeCounts::classOf(double size) {
  const auto value = static_cast<std::uint64_t>(static_cast<std::int64_t>(size * kFractions));
  if (value < 4) return value;
  const auto shift = static_cast<std::size_t>(std::bit_width(value)) - 3;
  return 4 * shift + static_cast<std::size_t>(value >> shift);
}

double SizeCounts::sizeOf(std::size_t sizeClass) {
  if (sizeClass < 4) return static_cast<double>(sizeClass) / kFractions;
  return std::ldexp(static_cast<double>(4 + sizeClass % 4), static_cast<int>(sizeClass / 4) - 1) / kFractions;
}

void SizeCounts::add(const SizeCounts& other) {
  std::transform(m_counts.begin(), m_counts.end(), other.m_counts.begin(), m_counts.begin(), std::plus());
}

double SizeCounts::quantile(double share) const {
  std::int64_t all = 0;
  for (const std::int64_t count : m_counts)
    all += count;
  double below = share * static_cast<double>(all);
  for (std::size_t i = 0; i < m_counts.size(); ++i) {
    const auto count = static_cast<double>(m_counts[i]);
    if (count > 0.0 && below <= count)  // of the first class nearly all are 0
      return i == 0 ? 0.0 : sizeOf(i) + (sizeOf(i + 1) - sizeOf(i)) * below / count;
    below -= count;
  }
  return 0.0;
}

void Top::add(std::int64_t value, std::int64_t times, SamplePlace first) {
  const auto addTo = [&](Kept& kept) {
    kept.first = std::min(kept.first, first);
    kept.count += times;
  };
  const Kept added{value, times, first};
  if (times == 0) return;
  if (m_top.count == 0 || value > m_top.value)
    m_next = std::exchange(m_top, added);
  else if (value == m_top.value)
    addTo(m_top);
  else if (m_next.count == 0 || value > m_next.value)
    m_next = added;
  else if (value == m_next.value)
    addTo(m_next);
}

void Top::add(const Top& other) {
  add(other.m_top.value, other.m_top.count, other.m_top.first);
  add(other.m_next.value, other.m_next.count, other.m_next.first);
}

void Tally::add(const std::int32_t* samples, std::int64_t count, SamplePlace first, bool goesOn) {
  if (m_judged) lookAtSteps(samples, count, first, goesOn);
  for (std::int64_t done = 0; done < count;) {
    const std::int64_t now = std::min(kBlockSamples - (first.sample + done) % kBlockSamples, count - done);
    addBlock(samples + done, now, first + done, goesOn || done > 0);
    done += now;
  }
}

void Tally::addBlock(const std::int32_t* samples, std::int64_t count, SamplePlace first, bool goesOn) {
  const Block block = sumUp(samples, static_cast<std::size_t>(count), goesOn);
  m_min = m_count == 0 ? block.min : std::min(m_min, block.min);
  m_max = m_count == 0 ? block.max : std::max(m_max, block.max);
  m_count += count;
  m_sum += Sum{block.base} * count + block.sum;
  m_squares += block.squares + 2 * Sum{block.base} * block.sum + Sum{block.base} * block.base * count;

  if (!goesOn) m_run = 0;
  followRuns(samples, count, block, first);
  if (!m_judged) return;
  findTops(samples, count, block, first);
  if (block.steps > 0) findSteps(samples, count, block, first);
  constexpr double kJump = 50.0;  // times the mean step: it makes a deviation that says nothing about noise
  if (block.largestStep * static_cast<double>(block.steps) > kJump * static_cast<double>(block.stepSum))
    return;
  const auto n = static_cast<double>(count);
  const double mean = static_cast<double>(block.sum) / n;
  m_deviations.add(std::sqrt(std::max(static_cast<double>(block.squares) / n - mean * mean, 0.0)), count);
}

void Tally::keepLonger(std::int64_t length, SamplePlace first) {
  if (length <= m_longest) return;
  m_longest = length;
  m_longestAt = first;
}

void Tally::followRuns(const std::int32_t* samples, std::int64_t count, const Block& block,
                       SamplePlace first) {
  // The run that was begun before goes on for `at` samples.
  std::int64_t at = 0;
  if (m_run > 0) {
    while (at < count && samples[at] == samples[-1])
      ++at;
    m_run += at;
    keepLonger(m_run, m_runAt);
    if (at == count) return;
  }
  // One that begins here and is longer than the longest so far reaches so many samples further: most of those
  // in between need not be looked at, and none where too few samples repeat the two before them.
  if (static_cast<std::int64_t>(block.repeated) >= m_longest - 1) {
    for (std::int64_t begin = at; begin + m_longest < count;) {
      const std::int64_t probe = begin + m_longest;
      if (m_longest > 0 && samples[probe] != samples[probe - 1]) {
        begin = probe;
        continue;
      }
      std::int64_t same = probe;
      while (same > begin && samples[same - 1] == samples[probe])
        --same;
      std::int64_t end = probe + 1;
      while (same == begin && end < count && samples[end] == samples[probe])
        ++end;
      if (same == begin) keepLonger(end - begin, first + begin);
      begin = same == begin ? end : same;
    }
  }
  std::int64_t last = count - 1;
  while (last > at && samples[last - 1] == samples[count - 1])
    --last;
  m_run = count - last;
  m_runAt = first + last;
}

void Tally::findTops(const std::int32_t* samples, std::int64_t count, const Block& block, SamplePlace first) {
  const bool high = m_highest.reaches(block.max);
  const bool low = m_lowest.reaches(-std::int64_t{block.min});
  if (!high && !low) return;
  if (block.min == block.max) {
    if (high) m_highest.add(block.max, count, first);
    if (low) m_lowest.add(-std::int64_t{block.min}, count, first);
    return;
  }
  for (std::int64_t i = 0; i < count; ++i) {
    if (high && m_highest.reaches(samples[i])) m_highest.add(samples[i], 1, first + i);
    if (low && m_lowest.reaches(-std::int64_t{samples[i]}))
      m_lowest.add(-std::int64_t{samples[i]}, 1, first + i);
  }
}

void Tally::lookAtSteps(const std::int32_t* samples, std::int64_t count, SamplePlace first, bool goesOn) {
  constexpr std::int64_t kTrialsApart = 127;  // so that not every trial has the same of its steps looked at
  const std::int64_t offset = (first.sample + first.trial * kTrialsApart) % m_stepsToOne;
  for (std::int64_t i = offset == 0 ? 0 : m_stepsToOne - offset; i < count; i += m_stepsToOne)
    if ((i > 0 || goesOn) && samples[i] != samples[i - 1])
      m_usualSteps.add(stepBetween(samples[i - 1], samples[i]), 1);
}

void Tally::findSteps(const std::int32_t* samples, std::int64_t count, const Block& block,
                      SamplePlace first) {
  constexpr double kOutstanding = 8.0;
  const double limit = kOutstanding * static_cast<double>(block.stepSum) / static_cast<double>(block.steps);
  if (block.largestStep <= limit) return;
  for (std::int64_t i = count - static_cast<std::int64_t>(block.steps); i < count; ++i) {
    const std::uint32_t step = stepBetween(samples[i - 1], samples[i]);
    if (step <= limit) continue;
    Steps& steps = m_outstanding.try_emplace(SizeCounts::classOf(step), Steps{0, first + i}).first->second;
    ++steps.count;
    steps.first = std::min(steps.first, first + i);
  }
}

void Tally::add(const Tally& other) {
  if (other.m_count == 0) return;
  m_min = m_count == 0 ? other.m_min : std::min(m_min, other.m_min);
  m_max = m_count == 0 ? other.m_max : std::max(m_max, other.m_max);
  m_count += other.m_count;
  m_sum += other.m_sum;
  m_squares += other.m_squares;
  if (other.m_longest == m_longest)
    m_longestAt = std::min(m_longestAt, other.m_longestAt);
  else
    keepLonger(other.m_longest, other.m_longestAt);
  m_highest.add(other.m_highest);
  m_lowest.add(other.m_lowest);
  m_usualSteps.add(other.m_usualSteps);
  for (const auto& [sizeClass, steps] : other.m_outstanding) {
    Steps& own = m_outstanding.try_emplace(sizeClass, Steps{0, steps.first}).first->second;
    own.count += steps.count;
    own.first = std::min(own.first, steps.first);
  }
  m_deviations.add(other.m_deviations);
}

double Tally::deviation() const {
  // About the whole number nearest to the mean the squares are exact, and what that is off matters little.
  const Sum nearest = m_sum / m_count;
  const Sum rest = m_sum - nearest * m_count;
  const Sum squares = m_squares - 2 * nearest * m_sum + nearest * nearest * m_count;
  const auto n = static_cast<double>(m_count), off = static_cast<double>(rest) / n;
  return std::sqrt(std::max(static_cast<double>(squares) / n - off * off, 0.0));
}

ChannelStatistics Tally::statistics(double gain, const SignalLimits& limits, std::int64_t mostFlat) const {
  ChannelStatistics out;
  out.samples = m_count;
  if (m_count == 0) {
    out.min = out.max = out.mean = out.std = std::numeric_limits<double>::quiet_NaN();
    return out;
  }
  out.min = (gain < 0.0 ? m_max : m_min) / gain;
  out.max = (gain < 0.0 ? m_min : m_max) / gain;
  out.mean = static_cast<double>(m_sum) / static_cast<double>(m_count) / gain;
  out.std = deviation() / std::abs(gain);
  out.flat = m_longest;
  out.flatAt = m_longestAt;
  if (!m_judged) return out;

  if (m_longest >= mostFlat) out.faults.push_back(SignalFault::flat);
  const auto countClipped = [&](const Top& top, std::int64_t end) {
    const auto least = limits.pileUp * static_cast<double>(std::max<std::int64_t>(top.nextCount(), 1));
    const bool piledUp = m_min < m_max && static_cast<double>(top.count()) >= least;
    if (top.value() != end && !piledUp) return;
    out.clippedAt = out.clipped == 0 ? top.first() : std::min(*out.clippedAt, top.first());
    out.clipped += top.count();
  };
  using Sample = std::numeric_limits<std::int32_t>;
  countClipped(m_highest, Sample::max());
  countClipped(m_lowest, -std::int64_t{Sample::min()});
  if (out.clipped > 0) out.faults.push_back(SignalFault::clipped);

  const double least = std::max(limits.jump * std::max(m_usualSteps.quantile(0.5), 1.0),
                                limits.jump / 5.0 * m_usualSteps.quantile(0.99));
  for (auto steps = m_outstanding.lower_bound(SizeCounts::classOf(least)); steps != m_outstanding.end();
       ++steps) {
    out.jumpsAt = out.jumps == 0 ? steps->second.first : std::min(*out.jumpsAt, steps->second.first);
    out.jumps += steps->second.count;
  }
  if (out.jumps > 0) out.faults.push_back(SignalFault::jumps);
  return out;
}

}  // namespace ctfmeg
