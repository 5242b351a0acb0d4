#pragma once

#include <string>
#include <vector>

#include "host/recording.h"

namespace ctfmeg::cli {

/// The last name of a path: what may be shown of it when nothing may name a person.
std::string lastName(const std::string& path);

/// `path`, or its last name when nothing may name a person.
std::string shownPath(const std::string& path, bool noIdentity);

/// Why the dataset of that path could not be read. Names the file that is the reason when that is another.
std::string reasonOf(const std::string& path, const Error& error);

/// Whether a finding may be shown when nothing may name a person. Messages meant for a person may hold paths,
/// and what is said of temporary files names folders; other findings hold none, and say as much.
bool mayBeShown(const Finding& finding, bool noIdentity);

/// The names that are marked bad; of a channel only when nothing may name a person, since the file may hold
/// anything. (Names of channels, markers, classes, electrodes and fiducials are taken for what they are and
/// stay.)
std::vector<std::string> shownBadChannels(const Recording& recording, bool noIdentity);

}  // namespace ctfmeg::cli
