#include "sidefiles/positions.h"

#include <limits>
#include <memory>

#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/side_file.h"
#include "util/scan.h"

std::optional<CEEGelectrodezk> parseElectrode(const CString& line, const ReadingRules& rules) {
  CEEGelectrodezk e;
  if (scan(line, L"%d %s %f %f %f", {&e.number, &e.name, &e.x, &e.y, &e.z}, precisionOf(rules)) != 5)
    return std::nullopt;
  return e;
}

std::optional<DigitisedPoint> parseDigitisedPoint(const CString& line, const ReadingRules& rules) {
  DigitisedPoint p;
  if (scan(line, L"%d %f %f %f", {&p.number, &p.x, &p.y, &p.z}, precisionOf(rules)) != 4) return std::nullopt;
  return p;
}

std::optional<DigitisedFiducial> parseDigitisedFiducial(const CString& line, const ReadingRules& rules) {
  DigitisedFiducial f;
  if (scan(line, L"%s %f %f %f", {&f.label, &f.x, &f.y, &f.z}, precisionOf(rules)) != 4) return std::nullopt;
  return f;
}

int CCtfReader6Positions::readEegFile(const CString& path) {
  constexpr SideFileManner kManner{.readError = L"Reading EEG file error!"};
  releaseElectrodes();
  return readSideLines(path, kManner, m_rules, [this](LineSource& lines) {
    CString line;
    while (lines.more() && lines.next(line)) {
      const auto parsed = parseElectrode(line, m_rules);
      if (!parsed) {
        lines.passOver("eeg.line", L"is not the number, name and position of an electrode");
        continue;
      }
      auto electrode = newFor<CEEGelectrodezk>(lines, *parsed);
      if (!electrode) continue;
      m_electrodes.SetAtGrow(m_electrodes.GetSize(), electrode.get());
      electrode.release();  // NOLINT(bugprone-unused-return-value): the list owns it now
    }
    return 1;
  });
}

int CCtfReader6Positions::readPosFile(const CString& path) {
  return readSideLines(path, {}, m_rules, [this](LineSource& lines) {
    return readDigitisedPoints(lines) && readDigitisedFiducials(lines) ? 1 : 0;
  });
}

bool CCtfReader6Positions::readDigitisedPoints(LineSource& lines) {
  CString line;
  std::int32_t count = 0;
  if (!lines.next(line)) return lines.passOver("pos.short", L"is empty");
  bool counted = scan(line, L"%d", {&count}, ScanPrecision::full) == 1;
  if (!counted && !lines.passOver("pos.count", L"is not the number of points")) return false;
  // Hosts get a point that stands here taken for the number.
  if (counted && parseDigitisedPoint(line, m_rules))
    counted = !lines.passOver("pos.count", L"is a point where the number of points should stand");
  if (!counted) {
    count = std::numeric_limits<std::int32_t>::max();
    lines.putBack();
  }
  for (std::int32_t i = 0; i < count; ++i) {
    if (!lines.next(line))
      return lines.passOver("pos.short", L"is the last line, before all points are told");
    const auto point = parseDigitisedPoint(line, m_rules);
    if (point) {
      keep(*point);
      continue;
    }
    if (!lines.passOver("pos.point",
                        L"is not the number and the position of a point, of which there are more"))
      return false;
    if (parseDigitisedFiducial(line, m_rules)) {
      lines.putBack();
      return true;
    }
  }
  return true;
}

void CCtfReader6Positions::keep(const DigitisedPoint& point) {
  m_currentData->setEEG_electrodesPositionPohemus(point.number, point.x, point.y, point.z, 0, true);
}

bool CCtfReader6Positions::readDigitisedFiducials(LineSource& lines) {
  constexpr int kFiducials = 3;
  for (int i = 0; i < kFiducials;) {
    CString line;
    if (!lines.next(line)) {
      lines.note("pos.fiducials", L"does not end with the labels and positions of three fiducials");
      return false;
    }
    const auto point = parseDigitisedPoint(line, m_rules);
    if (point && lines.passOver("pos.count", L"is a point beyond the number of points in the first line")) {
      keep(*point);
      continue;
    }
    const auto fiducial = parseDigitisedFiducial(line, m_rules);
    if (fiducial) {
      keepExtra([&] { m_currentData->digitisedFiducials.push_back(*fiducial); });
      ++i;
    } else if (!lines.passOver("pos.fiducial", L"is not the label and the position of a fiducial")) {
      return false;
    }
  }
  keepExtra([&] {
    for (CString line; lines.next(line);) {
      if (const auto fiducial = parseDigitisedFiducial(line, m_rules))
        m_currentData->digitisedFiducials.push_back(*fiducial);
      else
        lines.passOver("pos.fiducial", L"is not the label and the position of a fiducial");
    }
  });
  return true;
}
