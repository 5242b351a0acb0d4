#pragma once

#include <mutex>
#include <vector>

#include "recording/sample_sources.h"

namespace ctfmeg {

/// Samples of one channel, as far as they follow each other in a file and in the memory that they are read
/// into.
struct Row {
  std::uint64_t offset = 0;  ///< in the file, of the first sample
  std::int64_t count = 0;
  std::int64_t step = 1;   ///< samples of the file from one to the next
  std::int64_t place = 0;  ///< value of the target with which they begin
  int channel = 0;         ///< of the source

  std::uint64_t bytes() const {
    return static_cast<std::uint64_t>((count - 1) * step + 1) * sizeof(std::int32_t);
  }
};

/// Rows that are read together.
struct RowGroup {
  OpenFile file;  ///< null: the samples are missing
  std::vector<Row> rows;
  std::uint64_t offset = 0, bytes = 0;

  /// Whether the rows are one piece, both in the file and in the target.
  bool isOnePiece() const;
};

/// Divides a window into groups of rows in the order of the files. Rows with nothing or little between them
/// are read together, and no group is more than stays in a processor's own memory. Several threads may take
/// groups at once.
class WindowReading {
 public:
  WindowReading(const SampleSet& set, const std::vector<Channel>& channels, const Arrangement& arrangement,
                const Window& window);

  /// Bytes of the files that the window spans, before any step.
  std::uint64_t bytes() const;

  /// The next group; false when there is none. Throws FileError.
  bool next(RowGroup& group);
  /// No group is left from now on.
  void stop();

 private:
  /// The part of a window's trial that comes from one part of an arrangement.
  struct Unit {
    std::int64_t trial = 0;
    const Part* part = nullptr;
    std::int64_t first = 0, end = 0;  ///< samples of the window: from `first` to before `end`
  };

  bool nextRow();
  bool nextUnits();
  bool nextUnit();
  bool isMissing(int channel) const;

  const SampleSet& m_set;
  const std::vector<Channel>& m_channels;
  const Arrangement& m_arrangement;
  Window m_window;
  std::int64_t m_step;   // from one sample of the window to the next, in samples of the file
  std::int64_t m_start;  // of the window, likewise

  std::mutex m_mutex;  // for what follows
  std::int64_t m_trial;
  std::size_t m_nextPart;     // of that trial
  Unit m_unit;                // the last one that was found
  bool m_hasUnit = false;     // and is not among those at hand yet
  std::vector<Unit> m_units;  // of one trial of the file, as a trial that is cut into pieces has several
  SampleSet::Place m_place;   // of that trial
  int m_channel = 0;          // of the window; a channel's samples follow each other in the file, so that
  std::size_t m_at = 0;       // all units of one come before the next channel
  std::int64_t m_done = 0;    // samples of the unit that are in rows already
  Row m_row;                  // made, and not in a group yet
  OpenFile m_rowFile;
  bool m_hasRow = false;
  bool m_over = false;
};

}  // namespace ctfmeg
