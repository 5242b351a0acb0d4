#include <algorithm>
#include <cstring>
#include <span>

#include "base/byte_order.h"
#include "ctf/sample_set.h"
#include "edit/cropping.h"
#include "recording/sample_windows.h"

namespace ctfmeg::edit {
namespace {

constexpr char kSampleMagic[] = "MEG41CP";  // and the zero byte at its end
static_assert(sizeof kSampleMagic == kSampleHeaderSize);

constexpr std::int64_t kMostSamples = std::int64_t{1} << 20;  // of a window in memory

/// All of so many trials.
Window wholeTrials(const Shape& shape, std::int64_t first, std::int64_t trials) {
  return {first, trials, 0, shape.channels, 0, shape.samples};
}

std::span<std::int32_t> readWindow(const SampleSource& source, const Window& window,
                                   std::vector<std::int32_t>& memory) {
  memory.resize(static_cast<std::size_t>(window.trials * window.channels * window.samples));
  source.read(window, memory);
  return memory;
}

}  // namespace

std::vector<PlannedFile> sampleFiles(const std::shared_ptr<const SampleSource>& source,
                                     const std::string& name, std::uint64_t mostBytes) {
  const Shape shape = source->shape();
  const std::uint64_t trialBytes = sizeof(std::int32_t) * static_cast<std::uint64_t>(shape.channels) *
                                   static_cast<std::uint64_t>(shape.samples);
  const auto inFile =
      static_cast<std::int64_t>(std::max<std::uint64_t>((mostBytes - kSampleHeaderSize) / trialBytes, 1));
  std::vector<PlannedFile> files;
  for (std::int64_t first = 0; first < shape.trials; first += inFile) {
    const std::int64_t trials = std::min(inFile, shape.trials - first);
    const auto make = [=](const std::function<void(std::span<const std::byte>)>& write) {
      write(std::as_bytes(std::span(kSampleMagic)));
      std::vector<std::int32_t> memory;
      forEachWindow(wholeTrials(shape, first, trials), kMostSamples, [&](const Window& window) {
        const auto samples = readWindow(*source, window, memory);
        samplesToHostOrder(samples);  // which is its own reverse
        write(std::as_bytes(samples));
      });
    };
    files.push_back({sampleFileName(name, static_cast<int>(files.size())),
                     MadeFile{kSampleHeaderSize + static_cast<std::uint64_t>(trials) * trialBytes, make}});
  }
  return files;
}

bool haveSameSamples(const SampleSource& a, const SampleSource& b,
                     const std::function<void(std::uint64_t)>& goOn) {
  const Shape shape = a.shape(), other = b.shape();
  if (shape.trials != other.trials || shape.channels != other.channels || shape.samples != other.samples)
    return false;
  bool same = true;
  std::vector<std::int32_t> memory, otherMemory;
  forEachWindow(wholeTrials(shape, 0, shape.trials), kMostSamples, [&](const Window& window) {
    if (!same) return;
    const auto left = readWindow(a, window, memory), right = readWindow(b, window, otherMemory);
    same = std::equal(left.begin(), left.end(), right.begin());
    goOn(left.size_bytes());
  });
  return same;
}

}  // namespace ctfmeg::edit
