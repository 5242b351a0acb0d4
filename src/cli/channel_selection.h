#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/recording.h"

namespace ctfmeg::cli {

/// The channels that a comma-separated list of full names, short names and patterns (`*`, `?`) names: in the
/// dataset's order, each once; all without a list. Throws CommandError about `dataset` for an item that
/// matches nothing.
std::vector<Channel> selectChannels(const Recording& recording, const std::string& dataset,
                                    const std::optional<std::string>& list);

}  // namespace ctfmeg::cli
