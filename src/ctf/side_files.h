#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ctf/text_lines.h"

#include <ctfmeg/events.h>
#include <ctfmeg/head.h>
#include <ctfmeg/information.h>

// The short text files of a dataset: electrodes, digitised positions, bad channels and segments, virtual
// channels. Each function reads a file from its start and throws FileError. What was kept until then counts.

namespace ctfmeg {

// Lines of these files; nothing when a line is not of its form.

/// .eeg: number, name, x, y, z.
std::optional<Electrode> parseElectrode(const std::string& line, const ReadingRules& rules);
/// .pos: number, x, y, z; and its last lines: label, x, y, z.
std::optional<DigitisedPoint> parseDigitisedPoint(const std::string& line, const ReadingRules& rules);
std::optional<DigitisedFiducial> parseDigitisedFiducial(const std::string& line, const ReadingRules& rules);
/// bad.segments: trial, then start and end of the span in seconds from the trial's start.
std::optional<BadSegment> parseBadSegment(const std::string& line, const ReadingRules& rules);
/// VirtualChannels: "Ref: MLC11,0.5". The channel is what comes before the first ")" or ",".
std::optional<VirtualChannel::Reference> parseVirtualReference(const std::string& line,
                                                               const ReadingRules& rules);

/// STEM.eeg: an electrode a line; others are passed over. Always true.
bool readElectrodes(const File& file, const ReadingRules& rules, Notices& notices,
                    const std::function<void(const Electrode&)>& keep);

/// STEM.pos: the number of points, that many points, three fiducials. True when all of the file was as it
/// should be. Fiducials are kept under plain rules only.
bool readDigitised(const File& file, const ReadingRules& rules, Notices& notices,
                   const std::function<void(const DigitisedPoint&)>& keepPoint,
                   const std::function<void(const DigitisedFiducial&)>& keepFiducial);

/// BadChannels: the name of a channel that is not to be used on each line, taken whole. `mark` returns
/// whether it is a channel's; one that is not and may be cut is not to be kept. True when the file was read
/// as far as a reader goes on (see `TextLines::more`), false when it ends before.
bool readBadChannels(const File& file, const ReadingRules& rules, Notices& notices,
                     const std::function<bool(const std::string& name, bool mayBeCut)>& mark);

/// bad.segments, a segment a line. True and false as `readBadChannels`; false also, under host rules, at a
/// line that is none.
bool readBadSegments(const File& file, const ReadingRules& rules, Notices& notices,
                     const std::function<void(const BadSegment&)>& keep);

/// VirtualChannels: for each a line "VirtualChannel" and a block in braces of "Name:", "Unit:" and a "Ref:"
/// with channel and weight for each channel that it is made of. Under host rules they are only checked, and
/// none returned.
std::vector<VirtualChannel> readVirtualChannels(const File& file, const ReadingRules& rules,
                                                Notices& notices);

}  // namespace ctfmeg
