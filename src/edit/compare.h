#pragma once

#include <functional>
#include <string_view>

#include <ctfmeg/recording.h>

namespace ctfmeg::edit {

/// Compares what the files of a copy say, samples aside, with what its source says, number by number: every
/// field of the record, filters, channels with their coils, coefficients, and what the files beside them say.
/// `mayDiffer` is asked of what differs, by its name: a member of `RecordInfo`, or "filters", "channels",
/// "coefficients", "badChannels", "badSegments", "markers", "classes", "comments" (those of markers and
/// classes), "fiducials", "electrodes", "digitised", "information", "virtualChannels". Where it returns false
/// an `Error` about the copy is thrown that names what differs.
void compareRecordings(const Recording& source, const Recording& copy,
                       const std::function<bool(std::string_view what)>& mayDiffer);

}  // namespace ctfmeg::edit
