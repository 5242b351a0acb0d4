#pragma once

#include <array>

#include "simulate/channel.h"

namespace ctfmeg::simulate {

// Three current dipoles in the brain (ampere metres), then three distant machines whose magnetic moments
// (ampere square metres) make the ambient field.
enum Source { leftAuditory, rightAuditory, occipital, elevator, trolley, traffic };
inline constexpr int kSources = 6;

// A number for each source: its moment, or what a channel shows for a moment of 1.
using PerSource = std::array<double, kSources>;

// What `channel` shows of each source, in tesla or volt for a moment of 1. Zero for a channel that is neither
// magnetic nor an electrode.
//
// Raw counts follow the coils with their sign reversed: counts = -|gain| x (sum over the coils of orientation
// . B). After division by the gain with its sign, field out of the head is positive in all gradiometers.
PerSource leadField(const Channel& channel);

}  // namespace ctfmeg::simulate
