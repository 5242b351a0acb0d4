#pragma once

#include <algorithm>
#include <cstdint>

#include <ctfmeg/samples.h>

namespace ctfmeg {

/// What is read at once: enough to keep several processors busy, and little beside a machine's memory.
inline constexpr std::int64_t kBytesAtOnce = std::int64_t{1} << 24;

/// Calls `visit` for windows that together are `all`, in the order of its values, none of more than `most` of
/// them.
template <class Visit>
void forEachWindow(const Window& all, std::int64_t most, Visit visit) {
  const auto atOnce = [most](std::int64_t size, std::int64_t count) {
    return std::clamp<std::int64_t>(most / std::max<std::int64_t>(size, 1), 1,
                                    std::max<std::int64_t>(count, 1));
  };
  const std::int64_t trials = atOnce(all.samples * all.channels, all.trials);
  const auto channels = static_cast<int>(atOnce(all.samples, all.channels));
  const std::int64_t samples = atOnce(1, all.samples);
  for (std::int64_t t = 0; t < all.trials; t += trials)
    for (int c = 0; c < all.channels; c += channels)
      for (std::int64_t s = 0; s < all.samples; s += samples)
        visit(Window{all.trial + t, std::min(trials, all.trials - t), all.channel + c,
                     std::min(channels, all.channels - c), all.first + s,
                     std::min(samples, all.samples - s)});
}

}  // namespace ctfmeg
