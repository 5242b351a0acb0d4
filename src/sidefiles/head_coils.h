#pragma once

#include <memory>

#include <megreader/datamodel/meg_data_localization.h>
#include "util/line_source.h"

// A head-coil file is a list of coils: a line that names the coil and its set, such as "measured nasion coil
// position relative to dewar (cm):", then a line each for "x = ", "y = " and "z = " in centimetres. Coils of
// a set stand together: nasion, left ear, right ear and perhaps inion and Cz; there are up to three sets.

/// Reads the three coordinates of a coil, as millimetres in the data model's axes. 0 at the first line that
/// does not hold its coordinate; what was read before it stays.
int readCoilPoint(LineSource& lines, FiducialPoint& point, const ReadingRules& rules);

/// Coils in a set, as the first set shows it.
enum HeadCoilLayout : int { endsEarly = -1, badCoordinate = 0, fiveCoils = 1, threeCoils = 2 };
HeadCoilLayout probeHeadCoilLayout(LineSource& lines, const ReadingRules& rules);

/// The next set; null at the end of the file or when a coil's coordinates can't be read.
std::unique_ptr<CFiducialzk> readHeadCoilBlock(LineSource& lines, int layout, const ReadingRules& rules);

/// Reads three coils into the set of `data` that the next line names. 1 when it came to the third coil's
/// line; 0 when the line names no set, or as above.
int readHeadCoilBlockToDataset(LineSource& lines, CMEGData1Localization01Meg& data,
                               const ReadingRules& rules);

/// Reads every coil into the set of `data` that its own line names, however many a set has. The number of
/// sets with a coil.
int readHeadCoilSets(LineSource& lines, CMEGData1Localization01Meg& data, const ReadingRules& rules);
