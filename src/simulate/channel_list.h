#pragma once

#include <vector>

#include "simulate/channel.h"

namespace ctfmeg::simulate {

// `count` channels in file order: stimulus, clock, references, helmet, electrodes, ADCs. Options::channels
// says which of them a small system lacks. The system is the same for every seed.
std::vector<Channel> makeChannels(int count);

}  // namespace ctfmeg::simulate
