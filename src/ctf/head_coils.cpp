#include "ctf/head_coils.h"

#include <algorithm>

#include "base/geometry.h"
#include "ctf/second_look.h"

namespace ctfmeg {
namespace {

using Set = HeadCoilSet;

constexpr std::array kPlaces{Set::nasion, Set::leftEar, Set::rightEar, Set::inion, Set::cz};
constexpr std::array kCoilNames{"nasion", "left ear", "right ear", "inion", "Cz"};

/// Whether the line is the heading of a coil.
bool names(const std::string& line, Set::Place coil, const ReadingRules& rules) {
  return holds(line, (std::string(kCoilNames[coil]) + (rules.blocksWhole ? "" : " coil position")).c_str());
}

/// Reads the coil when the line names it; else nothing is to be read. False as `readHeadCoil`.
bool readNamed(const std::string& line, Set::Place coil, TextLines& lines, Set& set,
               const ReadingRules& rules) {
  return !names(line, coil, rules) || readHeadCoil(lines, set.coils[coil], rules);
}

/// Does the same for the next line.
bool readNext(Set::Place coil, TextLines& lines, Set& set, const ReadingRules& rules) {
  std::string line;
  return lines.next(line) && readNamed(line, coil, lines, set, rules);
}

Set* namedSet(const std::string& line, HeadCoilSets& sets) {
  const bool dewar = holds(line, "dewar"), measured = holds(line, "measured");
  if (holds(line, "standard") && dewar) return &sets.dewarStandard;
  if (measured && dewar) return &sets.dewarMeasured;
  if (measured && holds(line, "head")) return &sets.headMeasured;
  return nullptr;
}

/// Under host rules: three coils a set, a set for each heading, as hosts know this reader.
int readBlocks(TextLines& lines, HeadCoilSets& sets, const ReadingRules& rules) {
  // A line that names no set is an attempt too: hosts have what was read until then.
  constexpr int kMostAttempts = 100, kMostSets = 3;
  int blocks = 0;
  for (int attempt = 0; attempt < kMostAttempts && blocks < kMostSets; ++attempt)
    blocks += readHeadCoilBlockOfSets(lines, sets, rules) ? 1 : 0;
  return blocks;
}

/// Every coil into the set that its own line names, however many a set has.
int readEveryCoil(TextLines& lines, HeadCoilSets& sets, const ReadingRules& rules) {
  std::string line;
  while (lines.next(line)) {
    for (std::size_t at = 0; (at = line.find("stadard", at)) != std::string::npos;)
      line.replace(at, 7, "standard");
    Set* set = namedSet(line, sets);
    for (const auto place : kPlaces) {
      if (set == nullptr || !names(line, place, rules)) continue;
      HeadCoil coil;
      if (!readHeadCoil(lines, coil, rules)) {
        lines.putBack();  // it may name the next coil
        continue;
      }
      if (!set->coils[place].valid) ++set->numPoints;
      set->coils[place] = coil;
      set->kind = holds(line, "standard") ? Set::standard : Set::measured;
    }
  }
  return static_cast<int>(sets.dewarStandard.anyRead()) + static_cast<int>(sets.dewarMeasured.anyRead()) +
         static_cast<int>(sets.headMeasured.anyRead());
}

/// Whether every set that was read has nasion, left and right ear, and each coil that another set has.
bool allHaveTheirCoils(const HeadCoilSets& sets) {
  const std::array all{&sets.dewarStandard, &sets.dewarMeasured, &sets.headMeasured};
  return std::all_of(kPlaces.begin(), kPlaces.end(), [&](Set::Place place) {
    const auto has = [place](const Set* set) { return set->coils[place].valid; };
    const bool needed = place <= Set::rightEar || std::any_of(all.begin(), all.end(), has);
    return !needed ||
           std::all_of(all.begin(), all.end(), [&](const Set* set) { return !set->anyRead() || has(set); });
  });
}

HeadCoilOutcome readSets(const File& file, const ReadingRules& rules, Notices& notices, HeadCoilSets& sets) {
  if (!rules.blocksWhole && headCoilLayoutOf(file, rules, notices) < fiveCoils) return {.recognised = false};
  TextLines lines(file, rules, notices);
  const int count = rules.blocksWhole ? readEveryCoil(lines, sets, rules) : readBlocks(lines, sets, rules);
  lines.finish();
  if (count == 0)
    lines.note(Code::coilNone, "holds no head-coil position");
  else if (rules.everyLine && !lines.warned() && !allHaveTheirCoils(sets))
    lines.note(Code::coilShort, "has a set that lacks coils");
  return {.sets = count};
}

Vector3 positionOf(const HeadCoil& coil) { return {coil.x, coil.y, coil.z}; }

std::optional<FiducialSet> shown(const Set& set) {
  if (!set.anyRead()) return std::nullopt;
  FiducialSet fiducials;
  fiducials.numPoints = set.numPoints;
  for (const auto place : kPlaces)
    if (set.coils[place].valid) fiducials.*kFiducialNames[place].point = positionOf(set.coils[place]);
  return fiducials;
}

}  // namespace

bool HeadCoilSet::anyRead() const {
  return std::any_of(coils.begin(), coils.end(), [](const HeadCoil& coil) { return coil.valid; });
}

bool readHeadCoil(TextLines& lines, HeadCoil& coil, const ReadingRules& rules) {
  constexpr double kMmPerCm = 10.0;
  struct Coordinate {
    const char* keyword;
    double HeadCoil::*value;
  };
  for (const auto& [keyword, value] :
       {Coordinate{"x =", &HeadCoil::x}, {"y =", &HeadCoil::y}, {"z =", &HeadCoil::z}}) {
    std::string line, label;
    double centimetres = 0.0;
    if (!lines.next(line) || !holds(line, keyword) ||
        scan(line, "%s = %f", {&label, &centimetres}, precisionOf(rules), afterNumber(rules)) != 2) {
      lines.passOver(Code::coilCoordinate, "is not the coordinate of a head coil that is expected here");
      return false;
    }
    coil.*value = centimetres * kMmPerCm;
  }
  turnToDataModel(coil.x, coil.y);
  coil.valid = true;
  return true;
}

HeadCoilLayout probeHeadCoilLayout(TextLines& lines, const ReadingRules& rules) {
  Set set;
  std::string line;
  for (const auto coil : {Set::nasion, Set::leftEar, Set::rightEar}) {
    if (!lines.next(line)) return endsEarly;
    if (!readNamed(line, coil, lines, set, rules)) return badCoordinate;
  }
  if (!lines.next(line)) return endsEarly;
  if (!names(line, Set::inion, rules) && names(line, Set::nasion, rules)) return threeCoils;
  if (!readNamed(line, Set::inion, lines, set, rules)) return badCoordinate;
  if (!lines.next(line)) return endsEarly;
  return readNamed(line, Set::cz, lines, set, rules) ? fiveCoils : badCoordinate;
}

HeadCoilLayout headCoilLayoutOf(const File& file, const ReadingRules& rules, Notices& notices) {
  TextLines lines(file, rules, notices);
  const HeadCoilLayout layout = probeHeadCoilLayout(lines, rules);
  if (layout < fiveCoils)
    lines.note(Code::coilLayout, "does not begin with sets of three or of five head coils; not read");
  return layout;
}

bool readHeadCoilBlock(TextLines& lines, int layout, HeadCoilSet& set, const ReadingRules& rules) {
  std::string line;
  if (!lines.next(line)) return false;
  // The misspelling is in real files.
  if (holds(line, "standard") || holds(line, "stadard"))
    set.kind = Set::standard;
  else if (holds(line, "measured"))
    set.kind = Set::measured;
  if (!readNamed(line, Set::nasion, lines, set, rules) || !readNext(Set::leftEar, lines, set, rules) ||
      !readNext(Set::rightEar, lines, set, rules))
    return false;
  set.numPoints = 3;
  if (layout >= threeCoils) return true;
  if (!readNext(Set::inion, lines, set, rules) || !readNext(Set::cz, lines, set, rules)) return false;
  set.numPoints = 5;  // also when no line named the last coil
  return true;
}

bool readHeadCoilBlockOfSets(TextLines& lines, HeadCoilSets& sets, const ReadingRules& rules) {
  std::string line;
  if (!lines.next(line)) return false;
  Set* set = namedSet(line, sets);
  if (set == nullptr) return false;
  const auto read = [&](const char* word, Set::Place coil) {
    if (!holds(line, word)) return true;
    if (!readHeadCoil(lines, set->coils[coil], rules)) return false;
    ++set->numPoints;
    return true;
  };
  set->numPoints = 0;
  // Hosts find this kind on measured sets too.
  if (holds(line, "nasion")) set->kind = Set::standard;
  return read("nasion", Set::nasion) && lines.next(line) && read("left ear", Set::leftEar) &&
         lines.next(line) && read("right ear", Set::rightEar);
}

HeadCoilOutcome readHeadCoilSets(const File& file, const ReadingRules& given, Notices& told,
                                 HeadCoilSets& sets) {
  HeadCoilOutcome outcome;
  readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    HeadCoilSets unkept;
    const HeadCoilOutcome read = readSets(file, rules, notices, keeping ? sets : unkept);
    if (keeping) outcome = read;
    return true;
  });
  return outcome;
}

Fiducials fiducialsOf(const HeadCoilSets& sets) {
  Fiducials fiducials{shown(sets.dewarStandard), shown(sets.dewarMeasured), shown(sets.headMeasured), {}};
  const auto& coils = sets.dewarMeasured.coils;
  if (coils[Set::nasion].valid && coils[Set::leftEar].valid && coils[Set::rightEar].valid)
    fiducials.dewarToHead = headFrameOf(positionOf(coils[Set::nasion]), positionOf(coils[Set::leftEar]),
                                        positionOf(coils[Set::rightEar]));
  return fiducials;
}

}  // namespace ctfmeg
