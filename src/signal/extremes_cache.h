#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

#include <ctfmeg/overview.h>

namespace ctfmeg {

inline constexpr std::int64_t kOverviewBlock = 1024;  ///< samples whose extremes are kept
inline constexpr int kChunkBlocks = 32;               ///< blocks of a channel that are kept together
inline constexpr std::int64_t kChunkSamples = kOverviewBlock * kChunkBlocks;

/// One bit for each block of a chunk.
using BlockSet = std::uint32_t;

inline BlockSet only(std::int64_t block) { return BlockSet{1} << block; }

/// What is known of some blocks of one channel; `kNoExtremes` where all values are missing.
struct ExtremesChunk {
  BlockSet known = 0;
  std::array<Extremes, kChunkBlocks> blocks{};
};

/// Chunks of adjoining channels.
struct ChunkPlace {
  std::int64_t trial = 0;
  int channel = 0, channels = 0;
  std::int64_t chunk = 0;  ///< of the trial
};

/// Keeps chunks, as many as so many bytes have room for; those used longest ago go first. Safe from several
/// threads.
class ExtremesCache {
 public:
  explicit ExtremesCache(std::size_t bytes) : m_most(bytes / kEntryBytes) {}

  /// One for each channel.
  std::vector<ExtremesChunk> find(const ChunkPlace& place);
  /// Adds the blocks that each knows.
  void add(const ChunkPlace& place, const std::vector<ExtremesChunk>& chunks);

 private:
  using Key = std::tuple<std::int64_t, int, std::int64_t>;
  struct Entry {
    Key key;
    ExtremesChunk chunk{};
  };
  using Position = std::list<Entry>::iterator;
  /// With the links of list and map, and what the system needs for each piece of memory.
  static constexpr std::size_t kEntryBytes = sizeof(Entry) + sizeof(Key) + 10 * sizeof(void*);

  ExtremesChunk& entry(const Key& key);

  std::mutex m_mutex;
  std::size_t m_most;
  std::list<Entry> m_entries;  // the last used first
  std::map<Key, Position> m_positions;
};

}  // namespace ctfmeg
