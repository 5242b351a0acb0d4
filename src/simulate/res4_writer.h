#pragma once

#include <filesystem>
#include <vector>

#include "simulate/channel.h"
#include "simulate/options.h"

namespace ctfmeg::simulate {

// Writes the resource file: general header, run description, filters, channel names, sensor records and
// compensation coefficients of a recording of `channels`. Failures as OutputFile's.
void writeRes4(const std::filesystem::path& path, const Options& options,
               const std::vector<Channel>& channels);

}  // namespace ctfmeg::simulate
