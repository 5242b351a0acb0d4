#pragma once

#include <cstdint>

#include "framework/cprogresszk.h"
#include "meg4/sample_files.h"

// The two ways through a file set. They differ in what a short read does.

/// Reads trial after trial into the set's unit and calls `store(trial)`. After a short read the same trial is
/// read again from the next file; what came of it is dropped.
template <class Store>
void readTrials(SampleFiles& files, CProgresszk& progress, Store store) {
  for (std::int32_t trial = 0; trial < files.trials();) {
    progress.setPosition(trial);
    if (files.readUnit())
      store(trial++);
    else if (!files.nextFile())
      return;
  }
}

/// Reads channel block after channel block and calls `store(trial, channel)`. After a short read the trial
/// number steps back by one and reading goes on with the next channel: blocks are then stored in the wrong
/// place. Hosts know it so; sets read as one sequence have no short reads.
template <class Store>
void readChannelBlocks(SampleFiles& files, std::int32_t channels, CProgresszk& progress, Store store) {
  for (std::int32_t trial = 0; trial < files.trials(); ++trial)
    for (std::int32_t channel = 0; channel < channels; ++channel) {
      progress.setPosition(channel);
      if (files.readUnit())
        store(trial, channel);
      else if (files.nextFile())
        --trial;
      else
        break;
    }
}
