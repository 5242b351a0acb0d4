#pragma once

#include <vector>

#include <megreader/datamodel/virtual_channel.h>
#include "util/line_source.h"

/// The definitions in VirtualChannels, from behind the first line that holds "VirtualChannel" to the end of
/// the file.
std::vector<VirtualChannel> parseVirtualChannels(LineSource& lines, const ReadingRules& rules);
