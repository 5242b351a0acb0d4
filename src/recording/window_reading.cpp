#include "recording/window_reading.h"

#include <algorithm>

#include "base/parallel_read.h"

namespace ctfmeg {
namespace {

/// The smallest n, 0 to `most`, with n x `by` >= `value`.
std::int64_t stepsTo(std::int64_t value, std::int64_t by, std::int64_t most) {
  if (value <= 0) return 0;
  return std::min((value - 1) / by + 1, most);
}

/// How many samples of a channel are read at once, at that step.
std::int64_t mostAtOnce(std::int64_t step) {
  constexpr std::int64_t kSparse = 4096;  // one alone is read sooner than what is between two of them
  if (step > kSparse) return 1;
  return (static_cast<std::int64_t>(kCachedSamples) - 1) / step + 1;
}

}  // namespace

bool RowGroup::isOnePiece() const {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].step != 1 && rows[i].count != 1) return false;
    if (i > 0 && (rows[i].offset != rows[i - 1].offset + rows[i - 1].bytes() ||
                  rows[i].place != rows[i - 1].place + rows[i - 1].count))
      return false;
  }
  return true;
}

WindowReading::WindowReading(const SampleSet& set, const std::vector<Channel>& channels,
                             const Arrangement& arrangement, const Window& window)
    : m_set(set),
      m_channels(channels),
      m_arrangement(arrangement),
      m_window(window),
      m_step(window.samples == 1 ? 1 : arrangement.step * window.step),  // one has no next, however far
      m_start(arrangement.step * window.first),
      m_trial(window.trial - 1),
      m_nextPart(0) {}

std::uint64_t WindowReading::bytes() const {
  return static_cast<std::uint64_t>(m_window.trials * m_window.channels) *
         static_cast<std::uint64_t>((m_window.samples - 1) * m_step + 1) * sizeof(std::int32_t);
}

bool WindowReading::isMissing(int channel) const {
  const int trial = m_units[m_at].part->fileTrial;
  return trial == Part::kMissing || (trial == m_set.trials() && channel >= m_set.partialTrial()->channels);
}

bool WindowReading::nextUnit() {
  const auto partsOf = [&](std::int64_t trial) -> const std::vector<Part>& {
    return m_arrangement.trials[static_cast<std::size_t>(trial)];
  };
  const std::int64_t end = m_start + (m_window.samples - 1) * m_step + 1;
  for (;;) {
    if (m_trial < m_window.trial || m_nextPart == partsOf(m_trial).size() ||
        partsOf(m_trial)[m_nextPart].at >= end) {
      if (m_trial + 1 == m_window.trial + m_window.trials) return false;
      const auto& parts = partsOf(++m_trial);
      const auto first = std::partition_point(
          parts.begin(), parts.end(), [&](const Part& part) { return part.at + part.samples <= m_start; });
      m_nextPart = static_cast<std::size_t>(first - parts.begin());
    }
    const Part& part = partsOf(m_trial)[m_nextPart++];
    m_unit = {m_trial, &part, stepsTo(part.at - m_start, m_step, m_window.samples),
              stepsTo(part.at + part.samples - m_start, m_step, m_window.samples)};
    if (m_unit.first < m_unit.end) return true;  // else it is between two samples that are wanted
  }
}

bool WindowReading::nextUnits() {
  constexpr std::size_t kMostUnits = 4096;
  m_units.clear();
  m_channel = 0;
  if (!m_hasUnit && !nextUnit()) return false;
  const int trial = m_unit.part->fileTrial;
  do {
    m_units.push_back(m_unit);
    m_hasUnit = nextUnit();
  } while (m_hasUnit && m_unit.part->fileTrial == trial && m_units.size() < kMostUnits);
  if (trial != Part::kMissing) m_place = m_set.placeOf(trial, 0);
  return true;
}

bool WindowReading::nextRow() {
  if (m_over) return false;
  if ((m_units.empty() || m_channel == m_window.channels) && !nextUnits()) {
    m_over = true;
    return false;
  }
  const Unit& unit = m_units[m_at];
  const int ofSource = m_window.channel + m_channel;
  const int channel = m_channels[static_cast<std::size_t>(ofSource)].index;
  const std::int64_t sample = unit.first + m_done;
  const std::int64_t inFile = unit.part->firstSample + m_start + sample * m_step - unit.part->at;
  m_row = {
      .offset = m_place.offset + static_cast<std::uint64_t>(channel) * m_set.counts().blockBytes() +
                static_cast<std::uint64_t>(inFile) * sizeof(std::int32_t),
      .count = std::min(unit.end - sample, mostAtOnce(m_step)),
      .step = m_step,
      .place = ((unit.trial - m_window.trial) * m_window.channels + m_channel) * m_window.samples + sample,
      .channel = ofSource};
  m_rowFile = isMissing(channel) ? nullptr : m_place.file;
  m_done += m_row.count;
  if (unit.first + m_done == unit.end) {
    m_done = 0;
    if (++m_at == m_units.size()) {
      m_at = 0;
      ++m_channel;
    }
  }
  return m_hasRow = true;
}

bool WindowReading::next(RowGroup& group) {
  // What is read and not wanted is at most a tenth of what is wanted.
  constexpr std::uint64_t kMostUnwanted = 10;
  constexpr std::uint64_t kMostBytes = kCachedSamples * sizeof(std::int32_t);
  const std::lock_guard lock(m_mutex);
  group.rows.clear();
  if (!m_hasRow && !nextRow()) return false;
  group.file = m_rowFile;
  group.offset = m_row.offset;
  group.bytes = 0;
  do {
    const std::uint64_t end = group.offset + group.bytes;
    const bool fits = group.rows.empty() || (m_rowFile == group.file && m_row.offset >= end &&
                                             (m_row.offset - end) * kMostUnwanted <= m_row.bytes() &&
                                             m_row.offset + m_row.bytes() <= group.offset + kMostBytes);
    if (!fits) return true;
    group.rows.push_back(m_row);
    group.bytes = m_row.offset + m_row.bytes() - group.offset;
    m_hasRow = false;
  } while (nextRow());
  return true;
}

void WindowReading::stop() {
  const std::lock_guard lock(m_mutex);
  m_hasRow = false;
  m_over = true;
}

}  // namespace ctfmeg
