#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulate/channels.h"
#include "simulate/options.h"
#include "simulate/signals.h"

namespace ctfmeg::simulate {

/// "flat", "clipped", "jump" or "noisy".
std::string_view nameOf(Fault fault);

/// The faults of a list such as "flat,jump:2": names, each with the number of channels that get it. Throws
/// std::invalid_argument for anything else.
std::vector<Fault> parseFaults(std::string_view list);

struct PlantedFault {
  Fault fault;
  std::string channel;    // its name
  std::size_t index = 0;  // its place in the dataset
};

/// Which channels have a fault: gradiometers chosen by the seed, each once and none that BadChannels names.
/// Throws std::invalid_argument when there are too few.
std::vector<PlantedFault> plantFaults(const Options& options, const std::vector<Channel>& channels);

/// The same, of the dataset that the options make.
std::vector<PlantedFault> plantedFaults(const Options& options);

/// `sound` with the fault on top.
std::unique_ptr<ChannelSignal> makeFaulty(const PlantedFault& planted, std::unique_ptr<ChannelSignal> sound,
                                          const Channel& channel, const Options& options);

}  // namespace ctfmeg::simulate
