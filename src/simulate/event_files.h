#pragma once

#include <filesystem>
#include <vector>

#include "simulate/channel.h"
#include "simulate/options.h"

namespace ctfmeg::simulate {

// In `directory`: MarkerFile.mrk with the tone at the trigger of each trial and, some time later, a button
// press (each only where it lies within the trial); ClassFile.cls with the class "BAD", which holds the last
// of several trials; bad.segments with a span of that trial; BadChannels with the last of several
// gradiometers; VirtualChannels with the difference of the first two.
void writeEventFiles(const std::filesystem::path& directory, const Options& options,
                     const std::vector<Channel>& channels);

}  // namespace ctfmeg::simulate
