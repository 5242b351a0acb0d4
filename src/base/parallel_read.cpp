#include "base/parallel_read.h"

#include <algorithm>
#include <atomic>

#include "base/byte_order.h"

namespace ctfmeg {

bool readSamples(Workers& workers, const File& file, std::uint64_t offset, std::span<std::int32_t> values) {
  std::atomic<std::size_t> next{0};
  std::atomic<bool> isShort{false};
  workers.run([&] {
    try {
      for (;;) {
        const std::size_t first = next.fetch_add(1) * kCachedSamples;
        if (first >= values.size() || isShort) return;
        const auto piece = values.subspan(first, std::min(kCachedSamples, values.size() - first));
        const std::uint64_t at = offset + first * sizeof(std::int32_t);
        if (file.readAt(at, std::as_writable_bytes(piece)) != piece.size_bytes()) isShort = true;
        samplesToHostOrder(piece);
      }
    } catch (...) {
      isShort = true;  // the others need not go on
      throw;
    }
  });
  return !isShort;
}

}  // namespace ctfmeg
