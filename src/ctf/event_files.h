#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ctf/text_lines.h"

#include <ctfmeg/events.h>

// MarkerFile.mrk and ClassFile.cls: the dataset's path, the number of markers (classes), then a block for
// each: lines with a keyword, each followed by a line with its value, in a fixed order, and then a list.
// Under host rules each keyword is looked for in exactly one line: one that is missing costs the line in its
// place. Under plain rules unknown lines are passed over and a missing keyword costs nothing.

namespace ctfmeg {

/// Where times of a marker file are among a trial's samples.
struct TrialTiming {
  double sampleRate = 0.0;          ///< Hz
  std::int64_t preTrigSamples = 0;  ///< samples before the trigger, which is time 0

  /// Sample of a trial at a time in seconds: time x rate + pre-trigger samples, made whole. The smallest
  /// number of 64 bits, as hosts' processors return it, when it fits none.
  std::int64_t sampleAt(double seconds, const ReadingRules& rules) const;
};

/// A colour word as 0xRRGGBB; nothing when it is not known.
std::optional<std::uint32_t> colorOf(const std::string& text, const ReadingRules& rules);

/// A line of a marker's list: a trial's number and a time, which `msPerUnit` turns into milliseconds. Nothing
/// when it is not of that form.
std::optional<MarkerSample> parseMarkerSample(const std::string& line, double msPerUnit,
                                              const TrialTiming& timing, const ReadingRules& rules);

/// A marker with what a reader of it must know besides.
struct ReadMarker {
  Marker marker;
  bool memoryLacked = false;  ///< for one of its occurrences: it has those before
};

/// Called with each marker or class as soon as it is read; false ends the reading.
using KeepMarker = std::function<bool(ReadMarker)>;
using KeepClass = std::function<bool(TrialClass)>;

/// Reads markers up to the end of the file, or to what ends the reading. Throws FileError.
void readMarkers(const File& file, const TrialTiming& timing, const ReadingRules& rules, Notices& notices,
                 const KeepMarker& keep);

/// Reads classes; each keeps its trials' numbers, or without `ReadingRules::trialsKept` only their count.
/// True when the file was read as far as a reader goes on (see `TextLines::more`), false when it ends or
/// can't be understood before that. Throws FileError.
bool readClasses(const File& file, const ReadingRules& rules, Notices& notices, const KeepClass& keep);

}  // namespace ctfmeg
