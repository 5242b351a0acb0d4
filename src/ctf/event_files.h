#pragma once

#include <array>
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

/// What comes before the dataset's path, in the line before it.
inline constexpr const char* kPathKeyword = "PATH OF DATASET:";

/// How the blocks of the two files differ.
struct EventBlockKind {
  const char* total;                    ///< keyword of the number of blocks
  std::array<const char*, 9> keywords;  ///< in their order; the last is what the next block begins with
  bool plusSignsRemoved;                ///< from class group and class number, before they are scanned
  Code keywordCode, numberCode, shortCode, countCode, noneCode;
  const char *miscounted, *none;
};

/// What is at these places of `EventBlockKind::keywords`.
enum EventKeyword : std::size_t {
  kNameKeyword,
  kCommentKeyword,
  kColorKeyword,
  kEditableKeyword,
  kClassIdKeyword,
  kCountKeyword,
  kListKeyword,
  kColumnsKeyword,
  kNextBlockKeyword
};

inline constexpr EventBlockKind kMarkerBlock{
    .total = "NUMBER OF MARKERS",
    .keywords = {"NAME:", "COMMENT:", "COLOR:", "EDITABLE:", "CLASSID:", "NUMBER OF SAMPLES:",
                 "LIST OF SAMPLES:", "TRIAL NUMBER", "CLASSGROUPID"},
    .plusSignsRemoved = true,
    .keywordCode = Code::markerKeyword,
    .numberCode = Code::markerNumber,
    .shortCode = Code::markerShort,
    .countCode = Code::markerCount,
    .noneCode = Code::markerNone,
    .miscounted = "holds another number of markers than it says",
    .none = "holds no marker, and does not say that there are none"};

inline constexpr EventBlockKind kClassBlock{
    .total = "NUMBER OF CLASSES",
    .keywords = {"NAME:", "COMMENT:", "COLOR:", "EDITABLE:", "CLASSID:", "NUMBER OF TRIALS:",
                 "LIST OF TRIALS:", "TRIAL NUMBER", "CLASSGROUPID:"},
    .plusSignsRemoved = false,
    .keywordCode = Code::classKeyword,
    .numberCode = Code::classNumber,
    .shortCode = Code::classShort,
    .countCode = Code::classCount,
    .noneCode = Code::classNone,
    .miscounted = "holds another number of classes than it says",
    .none = "holds no class, and does not say that there are none"};

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

/// Milliseconds for each unit of the times below a column heading; nothing when it is none.
std::optional<double> msPerUnitOf(const std::string& heading);

/// A line of a marker's list: a trial's number and a time, which `msPerUnit` turns into milliseconds. Nothing
/// when it is not of that form.
std::optional<MarkerSample> parseMarkerSample(const std::string& line, double msPerUnit,
                                              const TrialTiming& timing, const ReadingRules& rules);

/// A line of a class's list: a trial's number, nothing when it is none.
std::optional<std::int32_t> parseClassTrial(std::string line, const ReadingRules& rules);

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
