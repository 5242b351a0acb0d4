#include "sidefiles/markers.h"

#include <cmath>
#include <limits>

#include <megreader/framework/user_interface.h>
#include "util/scan.h"

namespace {

// Hosts expect every marker in this class group, whatever the file says.
constexpr std::int32_t kHostGroup = 100;

constexpr double kMsPerSecond = 1000.0;

bool keep(CMarkerDatazk& marker, const MarkerSample& sample, const LineSource& lines) {
  try {
    marker.samples.push_back(sample);
    return true;
  } catch (const std::bad_alloc&) {
    lines.note("memory", L"needs more memory than there is");
    AfxMessageBox(L"Memory problem?!");
    return false;
  }
}

/// Milliseconds for each unit of the times below a column header; nothing when it is none.
std::optional<double> msPerUnitOf(const CString& header) {
  if (header.Find(L"TRIAL NUMBER") < 0 || header.Find(L"TIME FROM SYNC POINT") < 0) return std::nullopt;
  return header.Find(L"in seconds") >= 0 ? kMsPerSecond : 1.0;
}

bool readList(LineSource& lines, std::int64_t count, const TrialTiming& timing, const ReadingRules& rules,
              CMarkerDatazk& marker) {
  CString line;
  if (seekKeyword(lines, kMarkerBlock, kList) == Found::endOfFile || !lines.next(line))
    return endInsideBlock(lines, kMarkerBlock);
  const auto msPerUnit = msPerUnitOf(line);
  if (!msPerUnit) {
    if (!lines.passOver("marker.header", L"does not head a list of trial numbers and times")) return false;
    if (isNextBlock(lines, kMarkerBlock, line)) return true;
    if (parseMarkerSample(line, kMsPerSecond, timing, rules)) lines.putBack();
  }
  for (std::int64_t i = 0; i < count; ++i) {
    if (!lines.next(line)) return endInsideBlock(lines, kMarkerBlock);
    const auto sample = parseMarkerSample(line, msPerUnit.value_or(kMsPerSecond), timing, rules);
    if (sample && !keep(marker, *sample, lines)) return true;
    if (sample) continue;
    if (!lines.passOver("marker.sample", L"is not a trial's number and a time, of which the marker has more"))
      return false;
    if (isNextBlock(lines, kMarkerBlock, line)) return true;
  }
  return true;
}

}  // namespace

std::int64_t TrialTiming::sampleAt(double seconds, const ReadingRules& rules) const {
  const double exact = seconds * sampleRate + static_cast<double>(preTrigSamples);
  const double whole = rules.nearestSample ? std::round(exact) : std::trunc(exact);
  constexpr double kBeyond = 0x1p63;
  if (!(whole >= -kBeyond && whole < kBeyond)) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(whole);
}

std::optional<MarkerSample> parseMarkerSample(const CString& line, double msPerUnit,
                                              const TrialTiming& timing, const ReadingRules& rules) {
  MarkerSample sample;
  double time = 0.0;
  if (scan(line, L"%d  %f", {&sample.trial, &time}, precisionOf(rules)) != 2) return std::nullopt;
  sample.timeMs = time * msPerUnit;
  // Whatever the unit, the time is taken for seconds here.
  sample.sample = timing.sampleAt(time, rules);
  return sample;
}

std::unique_ptr<CMarkerDatazk> parseOneMarker(LineSource& lines, const TrialTiming& timing,
                                              const ReadingRules& rules) {
  auto marker = newFor<CMarkerDatazk>(lines);
  if (!marker) return nullptr;
  MarkerBlockHeading heading{*marker};
  if (!readMarkerBlockHeading(lines, kMarkerBlock, rules, heading)) return nullptr;
  marker->displayName = marker->name;
  if (!rules.groupKept) marker->classGroupId = kHostGroup;
  marker->numSamples = heading.count;
  return readList(lines, heading.count, timing, rules, *marker) ? std::move(marker) : nullptr;
}
