#pragma once

#include <array>
#include <map>

#include "signal/block.h"

#include <ctfmeg/statistics.h>

namespace ctfmeg {

/// How often sizes from 0 to 2^33 occur, in four classes to the octave.
class SizeCounts {
 public:
  static std::size_t classOf(double size);
  /// The smallest size of a class.
  static double sizeOf(std::size_t sizeClass);

  void add(double size, std::int64_t times) { m_counts[classOf(size)] += times; }
  void add(const SizeCounts& other);

  /// The size that so large a share of all stay below, as if each class were evenly filled; 0 where there is
  /// none.
  double quantile(double share) const;

 private:
  std::array<std::int64_t, 164> m_counts{};
};

/// The greatest of a channel's values, how often it occurs, and how often the next one does.
class Top {
 public:
  /// Whether a value counts.
  bool reaches(std::int64_t value) const { return m_next.count == 0 || value >= m_next.value; }
  void add(std::int64_t value, std::int64_t times, SamplePlace first);
  void add(const Top& other);

  std::int64_t value() const { return m_top.value; }
  std::int64_t count() const { return m_top.count; }
  std::int64_t nextCount() const { return m_next.count; }
  SamplePlace first() const { return m_top.first; }

 private:
  struct Kept {
    std::int64_t value = 0;
    std::int64_t count = 0;  // 0: there is no such value
    SamplePlace first{};
  };
  Kept m_top, m_next;
};

/// What is known of one channel's raw samples, or of a part of them. A few kilobytes, however many there are.
class Tally {
 public:
  /// `judged`: faults are looked for. Of so many steps one is looked at to know what is usual.
  Tally(bool judged, std::int64_t stepsToOne) : m_judged(judged), m_stepsToOne(stepsToOne) {}

  /// Adds samples that follow each other, from `first` on. `goesOn`: they follow the ones that were added
  /// last, and samples[-1] is the last of those.
  void add(const std::int32_t* samples, std::int64_t count, SamplePlace first, bool goesOn);
  /// Adds what is known of other samples of the channel.
  void add(const Tally& other);

  /// In the channel's unit. Faults are those that the channel shows by itself; an entry for noise is left
  /// out, as it takes the others of its kind. `mostFlat`: samples that may be equal.
  ChannelStatistics statistics(double gain, const SignalLimits& limits, std::int64_t mostFlat) const;

  /// The median deviation within a block, in units of raw samples.
  double noise() const { return m_deviations.quantile(0.5); }

 private:
  void addBlock(const std::int32_t* samples, std::int64_t count, SamplePlace first, bool goesOn);
  void lookAtSteps(const std::int32_t* samples, std::int64_t count, SamplePlace first, bool goesOn);
  void followRuns(const std::int32_t* samples, std::int64_t count, const Block& block, SamplePlace first);
  void keepLonger(std::int64_t length, SamplePlace first);
  void findTops(const std::int32_t* samples, std::int64_t count, const Block& block, SamplePlace first);
  void findSteps(const std::int32_t* samples, std::int64_t count, const Block& block, SamplePlace first);
  double deviation() const;

  bool m_judged;
  std::int64_t m_stepsToOne;

  std::int32_t m_min = 0, m_max = 0;
  std::int64_t m_count = 0;
  Sum m_sum = 0, m_squares = 0;

  std::int64_t m_run = 0;  // equal samples up to the last one
  SamplePlace m_runAt;
  std::int64_t m_longest = 0;
  SamplePlace m_longestAt;

  Top m_highest, m_lowest;  // the latter of -value

  SizeCounts m_usualSteps;  // that are not 0
  struct Steps {
    std::int64_t count = 0;
    SamplePlace first{};
  };
  std::map<std::size_t, Steps> m_outstanding;  // steps far beyond those around them, by class of size

  SizeCounts m_deviations;  // of blocks, as often as they have samples
};

}  // namespace ctfmeg
