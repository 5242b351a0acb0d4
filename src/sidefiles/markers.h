#pragma once

#include <memory>
#include <optional>

#include <megreader/datamodel/marker.h>
#include <megreader/datamodel/record_info.h>
#include "sidefiles/marker_block.h"

inline constexpr MarkerBlockKind kMarkerBlock{
    .total = L"NUMBER OF MARKERS",
    .keywords = {L"NAME:", L"COMMENT:", L"COLOR:", L"EDITABLE:", L"CLASSID:", L"NUMBER OF SAMPLES:",
                 L"LIST OF SAMPLES:", L"TRIAL NUMBER", L"CLASSGROUPID"},
    .plusSignsRemoved = true,
    .keywordCode = "marker.keyword",
    .numberCode = "marker.number",
    .shortCode = "marker.short"};

/// Where times of a marker file lie among a trial's samples.
struct TrialTiming {
  double sampleRate = 0.0;          ///< Hz
  std::int64_t preTrigSamples = 0;  ///< samples before the trigger, which is time 0

  /// Sample of a trial at a time in seconds: time x rate + pre-trigger samples, made whole. The smallest
  /// number of 64 bits, as hosts' processors give it, when it fits none.
  std::int64_t sampleAt(double seconds, const ReadingRules& rules) const;
};

/// A line of a marker's list: a trial's number and a time, which `msPerUnit` turns into milliseconds. Nothing
/// when it is not of that form.
std::optional<MarkerSample> parseMarkerSample(const CString& line, double msPerUnit,
                                              const TrialTiming& timing, const ReadingRules& rules);

/// A marker of MarkerFile.mrk, from behind the line that holds "CLASSGROUPID". Null when it is to be
/// abandoned and with it the file.
std::unique_ptr<CMarkerDatazk> parseOneMarker(LineSource& lines, const TrialTiming& timing,
                                              const ReadingRules& rules);
