#pragma once

#include <optional>
#include <string>

#include "host/recording.h"

namespace ctfmeg::cli {

// What follows a route's option, as a route. Nothing when it can't be understood.

/// A number from 1.
std::optional<EveryNth> parseEveryNth(const std::string& text);
std::optional<Pieces> parsePieces(const std::string& text);

/// "FIRST:LAST".
std::optional<SampleSpan> parseSpan(const std::string& text);

/// "0,2,5-7", each once.
std::optional<TrialList> parseTrials(const std::string& text);

/// Any name.
std::optional<MarkedTrials> parseMarker(const std::string& text);

}  // namespace ctfmeg::cli
