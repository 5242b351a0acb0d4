#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/file.h"
#include "base/threads.h"

namespace ctfmeg {

/// Bytes of which reading with several threads is faster.
inline constexpr std::size_t kWorthThreads = std::size_t{512} * 1024;

/// Samples that are still in the processor's own memory when their bytes are swapped.
inline constexpr std::size_t kCachedSamples = std::size_t{1} << 16;

/// Reads the samples that begin at `offset`, in host order, with several threads at once: a processor alone
/// moves them more slowly than the memory can. False when the file holds fewer. Throws FileError when it
/// can't be read.
bool readSamples(Workers& workers, const File& file, std::uint64_t offset, std::span<std::int32_t> values);

}  // namespace ctfmeg
