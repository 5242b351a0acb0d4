#pragma once

#include <vector>

#include "simulate/channel.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

// `count` first-order axial gradiometers with a baseline of 5 cm, roughly evenly spread over a head-shaped
// helmet that covers the top, the sides and the back. Names are unique: M, side L, R or Z (midline), region
// C, F, O, P or T, two digits (three or more in a helmet too dense for that). Ordered by side and region.
std::vector<Channel> makeHelmet(int count, Random& random);

}  // namespace ctfmeg::simulate
