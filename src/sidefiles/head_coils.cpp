#include "sidefiles/head_coils.h"

#include <megreader/datamodel/coordinate_process.h>
#include "util/scan.h"

namespace {

constexpr const wchar_t* kCoilNames[] = {L"nasion", L"left ear", L"right ear", L"inion", L"Cz"};

bool names(const CString& line, CFiducial::Slot coil, const ReadingRules& rules) {
  CString heading = kCoilNames[coil];
  if (!rules.blocksWhole) heading += L" coil position";
  return line.Find(heading.GetString()) >= 0;
}

/// The coil, when the line names it; else nothing is to be read. 0 as `readCoilPoint`.
int readNamed(const CString& line, CFiducial::Slot coil, LineSource& lines, CFiducialzk& set,
              const ReadingRules& rules) {
  return names(line, coil, rules) ? readCoilPoint(lines, set.points[coil], rules) : 1;
}

/// The same for the next line.
int readNext(CFiducial::Slot coil, LineSource& lines, CFiducialzk& set, const ReadingRules& rules) {
  CString line;
  return lines.next(line) ? readNamed(line, coil, lines, set, rules) : 0;
}

CFiducialzk* namedSet(const CString& line, CMEGData1Localization01Meg& data) {
  const bool dewar = line.Find(L"dewar") >= 0;
  const bool measured = line.Find(L"measured") >= 0;
  if (line.Find(L"standard") >= 0 && dewar) return data.getFidDewarStd();
  if (measured && dewar) return data.getFidDewarMsr();
  if (measured && line.Find(L"head") >= 0) return data.getFidHeadMsr();
  return nullptr;
}

}  // namespace

int readCoilPoint(LineSource& lines, FiducialPoint& point, const ReadingRules& rules) {
  constexpr double kMmPerCm = 10.0;
  struct Coordinate {
    const wchar_t* keyword;
    double FiducialPoint::*value;
  };
  for (const auto& [keyword, value] :
       {Coordinate{L"x =", &FiducialPoint::x}, {L"y =", &FiducialPoint::y}, {L"z =", &FiducialPoint::z}}) {
    CString line, label;
    double centimetres = 0.0;
    if (!lines.next(line) || line.Find(keyword) < 0 ||
        scan(line, L"%s = %f", {&label, &centimetres}, precisionOf(rules)) != 2) {
      lines.passOver("coil.coordinate", L"is not the coordinate of a head coil that is expected here");
      return 0;
    }
    point.*value = centimetres * kMmPerCm;
  }
  CCoordinateProcesszk::cvtCtf_D3Dzk(point.x, point.y, point.z);
  point.valid = 1;
  return 1;
}

HeadCoilLayout probeHeadCoilLayout(LineSource& lines, const ReadingRules& rules) {
  CFiducialzk set;
  CString line;
  for (const auto coil : {CFiducial::nasion, CFiducial::leftEar, CFiducial::rightEar}) {
    if (!lines.next(line)) return endsEarly;
    if (!readNamed(line, coil, lines, set, rules)) return badCoordinate;
  }
  if (!lines.next(line)) return endsEarly;
  if (!names(line, CFiducial::inion, rules) && names(line, CFiducial::nasion, rules)) return threeCoils;
  if (!readNamed(line, CFiducial::inion, lines, set, rules)) return badCoordinate;
  if (!lines.next(line)) return endsEarly;
  return readNamed(line, CFiducial::cz, lines, set, rules) ? fiveCoils : badCoordinate;
}

std::unique_ptr<CFiducialzk> readHeadCoilBlock(LineSource& lines, int layout, const ReadingRules& rules) {
  auto set = newFor<CFiducialzk>(lines);
  CString line;
  if (!set || !lines.next(line)) return nullptr;
  // The misspelling is in real files.
  if (line.Find(L"standard") >= 0 || line.Find(L"stadard") >= 0)
    set->positionKind = CFiducial::standard;
  else if (line.Find(L"measured") >= 0)
    set->positionKind = CFiducial::measured;
  if (!readNamed(line, CFiducial::nasion, lines, *set, rules) ||
      !readNext(CFiducial::leftEar, lines, *set, rules) || !readNext(CFiducial::rightEar, lines, *set, rules))
    return nullptr;
  set->numPoints = 3;
  if (layout >= threeCoils) return set;
  if (!readNext(CFiducial::inion, lines, *set, rules) || !readNext(CFiducial::cz, lines, *set, rules))
    return nullptr;
  set->numPoints = 5;  // also when no line named the last coil
  return set;
}

int readHeadCoilBlockToDataset(LineSource& lines, CMEGData1Localization01Meg& data,
                               const ReadingRules& rules) {
  CString line;
  if (!lines.next(line)) return 0;
  CFiducialzk* set = namedSet(line, data);
  if (set == nullptr) return 0;
  const auto read = [&](const wchar_t* word, CFiducial::Slot coil) {
    if (line.Find(word) < 0) return true;
    if (!readCoilPoint(lines, set->points[coil], rules)) return false;
    ++set->numPoints;
    return true;
  };
  set->numPoints = 0;
  // Hosts find this kind on measured sets too.
  if (line.Find(L"nasion") >= 0) set->positionKind = CFiducial::standard;
  return read(L"nasion", CFiducial::nasion) && lines.next(line) && read(L"left ear", CFiducial::leftEar) &&
         lines.next(line) && read(L"right ear", CFiducial::rightEar);
}

int readHeadCoilSets(LineSource& lines, CMEGData1Localization01Meg& data, const ReadingRules& rules) {
  CString line;
  while (lines.next(line)) {
    line.Replace(L"stadard", L"standard");
    CFiducialzk* set = namedSet(line, data);
    for (const auto coil :
         {CFiducial::nasion, CFiducial::leftEar, CFiducial::rightEar, CFiducial::inion, CFiducial::cz}) {
      if (set == nullptr || !names(line, coil, rules)) continue;
      FiducialPoint point;
      if (!readCoilPoint(lines, point, rules)) {
        lines.putBack();  // it may name the next coil
        continue;
      }
      if (!set->points[coil].valid) ++set->numPoints;
      set->points[coil] = point;
      set->positionKind = line.Find(L"standard") >= 0 ? CFiducial::standard : CFiducial::measured;
    }
  }
  int sets = 0;
  for (const CFiducialzk* set : {data.getFidDewarStd(), data.getFidDewarMsr(), data.getFidHeadMsr()})
    sets += set->anyPointRead() ? 1 : 0;
  return sets;
}
