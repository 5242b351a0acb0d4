#include "signal/extremes_cache.h"

namespace ctfmeg {

std::vector<ExtremesChunk> ExtremesCache::find(const ChunkPlace& place) {
  std::vector<ExtremesChunk> chunks(static_cast<std::size_t>(place.channels));
  const std::lock_guard lock(m_mutex);
  for (int c = 0; c < place.channels; ++c) {
    const auto found = m_positions.find({place.trial, place.channel + c, place.chunk});
    if (found == m_positions.end()) continue;
    m_entries.splice(m_entries.begin(), m_entries, found->second);
    chunks[static_cast<std::size_t>(c)] = found->second->chunk;
  }
  return chunks;
}

void ExtremesCache::add(const ChunkPlace& place, const std::vector<ExtremesChunk>& chunks) {
  if (m_most == 0) return;
  const std::lock_guard lock(m_mutex);
  for (int c = 0; c < place.channels; ++c) {
    const ExtremesChunk& added = chunks[static_cast<std::size_t>(c)];
    if (added.known == 0) continue;
    ExtremesChunk& kept = entry({place.trial, place.channel + c, place.chunk});
    for (std::size_t block = 0; block < kChunkBlocks; ++block)
      if ((added.known & only(static_cast<std::int64_t>(block))) != 0)
        kept.blocks[block] = added.blocks[block];
    kept.known |= added.known;
  }
}

/// The entry of that key, a new one if need be.
ExtremesChunk& ExtremesCache::entry(const Key& key) {
  if (const auto found = m_positions.find(key); found != m_positions.end()) return found->second->chunk;
  if (m_positions.size() == m_most) {
    m_positions.erase(m_entries.back().key);
    m_entries.pop_back();
  }
  m_entries.push_front({key});
  try {
    m_positions.emplace(key, m_entries.begin());
  } catch (...) {
    m_entries.pop_front();
    throw;
  }
  return m_entries.front().chunk;
}

}  // namespace ctfmeg
