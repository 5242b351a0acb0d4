#pragma once

#include <memory>
#include <span>

#include "simulate/channel.h"
#include "simulate/random.h"
#include "simulate/time_block.h"

namespace ctfmeg::simulate {

// What one channel shows, in tesla, volt, seconds or trigger codes.
class ChannelSignal {
 public:
  ChannelSignal() = default;
  ChannelSignal(const ChannelSignal&) = delete;
  ChannelSignal& operator=(const ChannelSignal&) = delete;
  virtual ~ChannelSignal() = default;

  // Fills `values`, one for each sample of `block`. Blocks come in the order of time.
  virtual void fill(const TimeBlock& block, Random& random, std::span<double> values) = 0;
};

// `index` is the channel's place in the dataset, `rate` its samples per second.
std::unique_ptr<ChannelSignal> makeSignal(const Channel& channel, std::size_t index, double rate);

}  // namespace ctfmeg::simulate
