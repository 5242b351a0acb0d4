#pragma once

#include <filesystem>
#include <vector>

#include "simulate/channel.h"

namespace ctfmeg::simulate {

// <stem>.hc: nasion and ears of the simulated head as the system assumes them in the dewar, and as measured
// in the dewar and in the head frame that they define. <stem>.eeg and <stem>.pos: the electrodes, and the
// fiducials behind them. All in centimetres.
void writeHeadFiles(const std::filesystem::path& stem, const std::vector<Channel>& channels);

}  // namespace ctfmeg::simulate
