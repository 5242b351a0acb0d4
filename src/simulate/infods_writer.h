#pragma once

#include <filesystem>

#include "simulate/options.h"

namespace ctfmeg::simulate {

// The information file: blocks about patient, procedure and dataset. Nobody real is in it.
void writeInfods(const std::filesystem::path& path, const Options& options);

}  // namespace ctfmeg::simulate
