#include "sidefiles/bad_segments.h"

#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/side_file.h"
#include "util/scan.h"

std::optional<BadSegment> parseBadSegment(const CString& line, const ReadingRules& rules) {
  constexpr float kMsPerSecond = 1000.0F;
  const ScanPrecision precision = precisionOf(rules);
  std::int32_t trial = 0;
  double start = 0.0, end = 0.0;
  if (scan(line, L"%d %f %f", {&trial, &start, &end}, precision) != 3) return std::nullopt;
  // Single precision is multiplied as such, too.
  const auto toMs = [precision](double seconds) {
    return precision == ScanPrecision::full ? seconds * double{kMsPerSecond}
                                            : double{static_cast<float>(seconds) * kMsPerSecond};
  };
  return BadSegment{trial, toMs(start), toMs(end)};
}

int CCtfReader7Bad::readBadSegments(const CString& path) {
  return readSideLines(getFilePathDir(path) + L"bad.segments", {}, m_rules, [&](LineSource& lines) {
    CString line;
    while (lines.more()) {
      if (!lines.next(line)) return 0;
      const auto segment = parseBadSegment(line, m_rules);
      if (segment) m_currentData->addTrialBadSegment(segment->trial, segment->startMs, segment->endMs);
      if (!segment && !lines.passOver("segment.line", L"is not a trial with start and end of a span"))
        return 0;
    }
    return 1;
  });
}
