#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "base/threads.h"

#include <ctfmeg/finding.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {

/// Stretches of the trials of a source, as trials of a source of their own: the trials with a step, or
/// epochs.
class Views : public SampleSource {
 public:
  /// Where a stretch begins.
  struct Start {
    std::int64_t trial = 0, sample = 0;
  };
  /// Samples of a stretch, from 0, both included.
  struct Span {
    std::int64_t first = 0, last = 0;
  };
  struct Layout {
    std::vector<Start> starts{};
    std::int64_t samples = 0;  ///< of each stretch, after the step
    std::int64_t step = 1;
    /// Seconds of a stretch's first sample, before the step; without it times are those of the source.
    std::optional<double> from{};
    std::optional<Span> baseline{};  ///< whose mean is subtracted; values are physical then
  };

  /// Baselines are subtracted by so many threads (0: as many as pay).
  Views(std::shared_ptr<const SampleSource> source, Layout layout, std::vector<Finding> warnings,
        int threads = 0);

  Shape shape() const override;
  const std::vector<Channel>& channels() const override { return m_source->channels(); }
  double sampleRate() const override;
  Origin origin(std::int64_t trial) const override;
  std::vector<Piece> pieces(std::int64_t trial) const override;
  std::vector<Gap> gaps() const override;
  double time(std::int64_t trial, std::int64_t sample) const override;
  bool hasMissing() const override { return m_source->hasMissing(); }
  const std::vector<Finding>& warnings() const override { return m_warnings; }

 protected:
  void readInto(const Window& window, const Target& target) const override;

 private:
  const Start& start(std::int64_t trial) const;
  Window windowOf(std::int64_t trial, const Window& window) const;
  // Values less the baselines, of one trial, and of all of a window.
  void readLess(const Window& window, double* out) const;
  void readLess(const Window& window, float* out) const;
  template <class Value>
  void readAllLess(const Window& window, Value* out) const;
  /// Sums over the baseline, of some channels.
  std::vector<double> sumBaselines(std::int64_t trial, int channel, int channels) const;
  std::vector<double> baselines(std::int64_t trial, int channel, int channels) const;

  std::shared_ptr<const SampleSource> m_source;
  Layout m_layout;
  std::vector<Finding> m_warnings;
  mutable Workers m_workers;
  std::vector<std::vector<Piece>> m_pieces;  // of each trial of the source
  // Sums of baselines that were read, by trial and channel: an average of long epochs asks for them once for
  // each of its windows. Empty where there are too many.
  mutable std::mutex m_mutex;
  mutable std::vector<std::optional<double>> m_sums;
};

}  // namespace ctfmeg
