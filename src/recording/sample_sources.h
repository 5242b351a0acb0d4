#pragma once

#include <memory>
#include <vector>

#include "base/threads.h"
#include "ctf/sample_set.h"
#include "recording/arrangement.h"

#include <ctfmeg/finding.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {

/// Throws std::out_of_range for `count` items from `first` on that are not all within 0 to `there - 1`.
void requireRange(const char* what, std::int64_t first, std::int64_t count, std::int64_t there);

/// Seconds from the trigger, by the rate of the acquisition.
double timeOf(const Origin& from, std::int64_t sample, std::int64_t preTrigSamples, double sampleRate);

// Samples as what they are read as; `gain` counts for physical values only, and no integer is one.

void convert(std::span<const std::int32_t> samples, double gain, Values values, std::int32_t* out);
void convert(std::span<const std::int32_t> samples, double gain, Values values, float* out);
void convert(std::span<const std::int32_t> samples, double gain, Values values, double* out);

/// Samples of a set, read on demand.
class FileSamples : public SampleSource {
 public:
  /// `owner` keeps the set and the workers alive. `channels`: those of the set that are chosen, in their
  /// order.
  FileSamples(std::shared_ptr<const void> owner, const SampleSet& set, Workers& workers,
              std::vector<Channel> channels, Arrangement arrangement, std::vector<Finding> warnings);

  Shape shape() const override { return m_shape; }
  const std::vector<Channel>& channels() const override { return m_channels; }
  double sampleRate() const override;
  Origin origin(std::int64_t trial) const override;
  std::vector<Piece> pieces(std::int64_t trial) const override;
  std::vector<Gap> gaps() const override { return m_arrangement.gaps; }
  double time(std::int64_t trial, std::int64_t sample) const override;
  bool hasMissing() const override { return m_arrangement.missing; }
  const std::vector<Finding>& warnings() const override { return m_warnings; }

 protected:
  void readInto(const Window& window, const Target& target) const override;

 private:
  const std::vector<Part>& parts(std::int64_t trial) const;

  std::shared_ptr<const void> m_owner;
  const SampleSet& m_set;
  Workers& m_workers;
  std::vector<Channel> m_channels;
  Arrangement m_arrangement;
  Shape m_shape;
  std::vector<Finding> m_warnings;
};

}  // namespace ctfmeg
