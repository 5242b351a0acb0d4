#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/samples.h>

namespace ctfmeg {
inline namespace v1 {

/// The least and the greatest of some values; NaN where all are missing.
struct Extremes {
  double min = 0.0, max = 0.0;
};

/// What is drawn of many samples in few pixels. The extremes of blocks of 1024 samples are kept, so that what
/// is drawn again, scrolled or zoomed out, is hardly read again. Operations are safe from several threads.
class CTFMEG_API Overview {
 public:
  /// `cacheBytes` are for the extremes that are kept; those used longest ago go first. 16 MB are enough for
  /// 800 million samples in trials of 32,768 or more. Windows are read by so many threads (0: as many as
  /// pay).
  explicit Overview(std::shared_ptr<const SampleSource> source,
                    std::size_t cacheBytes = std::size_t{16} << 20U, int threads = 0);
  ~Overview();
  Overview(const Overview&) = delete;
  Overview& operator=(const Overview&) = delete;

  /// The extremes of a window's physical values: trial by trial, channel by channel, `width` pixels each.
  /// Pixel p of n samples has those from floor(p x n / width) up to floor((p + 1) x n / width), this one left
  /// out; where samples are fewer than pixels, the one that it lies in, so that they are drawn as steps.
  /// Reads what is not kept, and blocks that pixels share. Throws what reading throws, and
  /// std::invalid_argument for a width below 1 or a step other than 1.
  std::vector<Extremes> extremes(const Window& window, int width) const;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace v1
}  // namespace ctfmeg
