#pragma once

#include <optional>

#include <megreader/datamodel/meg_data_process.h>
#include <megreader/datamodel/eeg_electrode.h>
#include <megreader/reader/reading_rules.h>

// Lines of the two files about electrodes. Each gives nothing when the line is not of its form.

/// .eeg: number, name, x, y, z.
std::optional<CEEGelectrodezk> parseElectrode(const CString& line, const ReadingRules& rules);

/// .pos: number, x, y, z; and its last lines: label, x, y, z.
std::optional<DigitisedPoint> parseDigitisedPoint(const CString& line, const ReadingRules& rules);
std::optional<DigitisedFiducial> parseDigitisedFiducial(const CString& line, const ReadingRules& rules);
