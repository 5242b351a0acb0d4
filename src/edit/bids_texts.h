#pragma once

#include <string>
#include <vector>

#include <ctfmeg/edit.h>
#include <ctfmeg/recording.h>

// The texts that the BIDS standard wants beside a recording, made of what the recording says and nothing
// else. docs/bids.md has a table of where each of their fields comes from.

namespace ctfmeg::edit {

/// `*_meg.json`. Throws `Error` for a recording without a sample rate.
std::string bidsMegJson(const Recording& recording, const BidsRecording& wanted);

/// `*_channels.tsv`: a row for each channel.
std::string bidsChannels(const Recording& recording);

/// `*_events.tsv`: a row for each occurrence of a marker, by time; empty where there is none. Occurrences in
/// trials that the recording does not have are counted in `leftOut`.
std::string bidsEvents(const Recording& recording, std::size_t& leftOut);

/// `*_events.json`: what the columns of the events are.
std::string bidsEventsJson(const Recording& recording);

/// `*_coordsystem.json`. `headShape`: the name of the file of digitised points beside it, or empty.
std::string bidsCoordinates(const Recording& recording, const std::string& headShape);

/// `dataset_description.json` of a study of that name.
std::string bidsDescription(const std::string& name);

}  // namespace ctfmeg::edit
