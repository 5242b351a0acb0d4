#pragma once

#include <vector>

#include "simulate/channel.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

inline constexpr int kReferences = 29;

// The reference sensors above the helmet: 9 magnetometers BG1 to BR3 (block G, P or R, dewar axis measured)
// and 20 first-order gradiometers G11 to R23 (block, dewar axis of the baseline, dewar axis measured).
std::vector<Channel> makeReferences(Random& random);

}  // namespace ctfmeg::simulate
