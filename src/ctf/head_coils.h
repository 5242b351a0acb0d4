#pragma once

#include <array>
#include <functional>

#include "ctf/text_lines.h"

#include <ctfmeg/head.h>

// A head-coil file is a list of coils: a line that names the coil and its set, such as "measured nasion coil
// position relative to dewar (cm):", then a line each for "x = ", "y = " and "z = " in centimetres. Coils of
// a set are together: nasion, left ear, right ear and perhaps inion and Cz; there are up to three sets.

namespace ctfmeg {

/// One coil, in millimetres and the data model's axes once it is `valid`. A coordinate that was read before
/// one that could not be is kept all the same, as hosts rely on.
struct HeadCoil {
  double x = 0.0, y = 0.0, z = 0.0;
  bool valid = false;
};

struct HeadCoilSet {
  enum Place : std::size_t { nasion, leftEar, rightEar, inion, cz };
  enum Kind : int { standard = 0, measured = 1 };

  std::array<HeadCoil, 5> coils{};  ///< by `Place`
  std::int32_t numPoints = 0;
  int kind = standard;

  bool anyRead() const;
};

struct HeadCoilSets {
  HeadCoilSet dewarStandard;  ///< in the dewar, as the system assumes them
  HeadCoilSet dewarMeasured;  ///< in the dewar, as measured
  HeadCoilSet headMeasured;   ///< in the head frame, as measured
};

/// Reads the three coordinates of a coil. False at the first line that does not hold its coordinate.
bool readHeadCoil(TextLines& lines, HeadCoil& coil, const ReadingRules& rules);

/// Coils in a set, as the first set of a file shows it.
enum HeadCoilLayout : int { endsEarly = -1, badCoordinate = 0, fiveCoils = 1, threeCoils = 2 };
HeadCoilLayout probeHeadCoilLayout(TextLines& lines, const ReadingRules& rules);

/// The layout of `file`; one that can't be recognised is reported.
HeadCoilLayout headCoilLayoutOf(const File& file, const ReadingRules& rules, Notices& notices);

/// Reads the next set into `set`; false at the end of the file or when a coil's coordinates can't be read.
bool readHeadCoilBlock(TextLines& lines, int layout, HeadCoilSet& set, const ReadingRules& rules);

/// Reads three coils into the set that the next line names. True when it came to the third coil's line; false
/// when the line names no set, or as above.
bool readHeadCoilBlockOfSets(TextLines& lines, HeadCoilSets& sets, const ReadingRules& rules);

/// Reads a file into the sets. Returns how many were read; `recognised` is false, and nothing read, when
/// under host rules its layout can't be.
struct HeadCoilOutcome {
  bool recognised = true;
  int sets = 0;
};
HeadCoilOutcome readHeadCoilSets(const File& file, const ReadingRules& rules, Notices& notices,
                                 HeadCoilSets& sets);

/// The sets and the transform from the dewar to the head, as they are shown.
Fiducials fiducialsOf(const HeadCoilSets& sets);

}  // namespace ctfmeg
