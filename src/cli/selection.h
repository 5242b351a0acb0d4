#pragma once

#include <optional>
#include <string>
#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg::cli {

// What an option that takes a route says. Nothing when it can't be understood.

/// A number from 1.
std::optional<EveryNth> parseEveryNth(const std::string& text);
std::optional<Pieces> parsePieces(const std::string& text);

/// "FIRST:LAST".
std::optional<SampleSpan> parseSpan(const std::string& text);

/// "0,2,5-7", each once.
std::optional<TrialList> parseTrials(const std::string& text);

/// Any name.
std::optional<MarkedTrials> parseMarker(const std::string& text);

/// The channels that a comma-separated list of full names, short names and patterns (`*`, `?`) names: in the
/// dataset's order, each once; all of them without a list. Throws CommandError about `dataset` for an item
/// that matches nothing.
std::vector<Channel> selectChannels(const std::vector<Channel>& channels, const std::string& dataset,
                                    const std::optional<std::string>& list);

}  // namespace ctfmeg::cli
