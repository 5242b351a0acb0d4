#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "base/parallel_read.h"
#include "ctf/sample_set.h"

#include <ctfmeg/finding.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {

/// What turns the samples of a set into those of a recording.
struct SampleScale {
  std::vector<double> gains;  ///< of each channel
  double sampleRate = 0.0;    ///< Hz, of the acquisition
  std::int64_t preTrigSamples = 0;
};

/// Throws std::out_of_range for `count` items from `first` on that are not all within 0 to `there - 1`.
void requireRange(const char* what, std::int64_t first, std::int64_t count, std::int64_t there);

/// How many values a window of samples of that shape has. Throws std::out_of_range for one that is not within
/// it and std::invalid_argument where there is no room for so many.
std::int64_t valuesOf(const Window& window, const Shape& shape, std::size_t room);

/// Seconds from the trigger, by the rate of the acquisition.
double timeOf(const Origin& from, std::int64_t sample, std::int64_t preTrigSamples, double sampleRate);

/// Trials of a set, each from a sample on, every n-th sample.
class FileSamples : public SampleSource {
 public:
  /// A trial: its number in the file, and the sample of it that is sample 0 here.
  struct Piece {
    int fileTrial = 0;
    std::int64_t firstSample = 0;
  };

  /// `owner` keeps the set alive.
  FileSamples(std::shared_ptr<const void> owner, const SampleSet& set, const SampleScale& scale,
              std::vector<Piece> pieces, std::int64_t samples, std::int64_t step, int threads);

  Shape shape() const override { return m_shape; }
  Origin origin(std::int64_t trial) const override;
  double time(std::int64_t trial, std::int64_t sample) const override;
  void read(const Window& window, std::span<std::int32_t> out) const override;
  void readPhysical(const Window& window, std::span<double> out) const override;

 private:
  const Piece& piece(std::int64_t trial) const { return m_pieces[static_cast<std::size_t>(trial)]; }
  bool isWholeBlocks(const Window& window) const;
  void readWholeTrials(const Window& window, std::span<std::int32_t> out) const;
  /// Of a channel, from a sample on; without a step also on into the channels after it.
  void readBlock(std::int64_t trial, int channel, std::int64_t first, std::span<std::int32_t> out) const;
  void readTogether(const File& file, std::uint64_t offset, std::span<std::int32_t> out) const;

  std::shared_ptr<const void> m_owner;
  const SampleSet& m_set;
  const SampleScale& m_scale;
  std::vector<Piece> m_pieces;
  Shape m_shape;
  std::int64_t m_step;
  mutable std::mutex m_parallelMutex;  // one large read at a time has helpers
  mutable ParallelRead m_parallel;
};

}  // namespace ctfmeg
