#pragma once

#include <ctfmeg/processing.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/stimulus.h>

namespace ctfmeg::capi {

/// Which samples are wanted, and what is done with them.
struct Wanted {
  Selection selection;
  Processing processing;
  bool average = false;
};

/// Of the JSON object that ctfmeg_select() takes; null and "{}" are everything. Throws Misuse for what is no
/// such object, and `Error` for names that the recording does not have.
Wanted wantedOf(const char* json, const Recording& recording);

/// Of the one that ctfmeg_crop() takes: samples as they are stored, so that nothing is computed of them.
Selection wantedPartOf(const char* json);

struct WantedEvents {
  Selection selection;
  StimulusOptions options{};
};

/// Of the one that ctfmeg_events() takes.
WantedEvents wantedEventsOf(const char* json);

/// Channels and excluded ones alone.
Selection wantedChannelsOf(const char* json);

}  // namespace ctfmeg::capi
