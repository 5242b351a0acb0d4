#pragma once

#include <optional>
#include <string>
#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg::cli {

// What an option that selects samples says. Nothing when it can't be understood.

/// A number from 1.
std::optional<int> parseCount(const std::string& text);

/// "FIRST:LAST".
std::optional<SampleSpan> parseSpan(const std::string& text);

/// "0,2,5-7", each once.
std::optional<std::vector<int>> parseTrials(const std::string& text);

/// The channels that a comma-separated list of full names, short names and patterns (`*`, `?`) names: in the
/// dataset's order, each once; all of them without a list. Throws CommandError about `dataset` for an item
/// that matches nothing.
std::vector<Channel> selectChannels(const std::vector<Channel>& channels, const std::string& dataset,
                                    const std::optional<std::string>& list);

}  // namespace ctfmeg::cli
