#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ctf/event_files.h"
#include "edit/changes.h"

#include <ctfmeg/record.h>

// Marks put into the bytes of BadChannels, bad.segments and MarkerFile.mrk.

namespace ctfmeg::edit {

struct Marked : Edited {
  std::vector<std::string> there;  ///< sentences about marks that change nothing
};

/// Marks channels, places among all of them, as bad and as good: by short name where all names of the file
/// are short. Nothing where names do not tell them from others.
std::optional<Marked> markChannels(std::string_view bytes, const std::vector<Channel>& channels,
                                   const std::set<int>& bad, const std::set<int>& good);

Marked addBadSegments(std::string_view bytes, const std::vector<BadSegment>& segments, double sampleRate);

/// Adds occurrences to the first marker of that name, in bytes as a file has them; `samples` of each have
/// trial and time. Without such a marker one is made. Throws `Error` about `path` where the file leaves no
/// room for them, or where its reader would not have all that it had before, and them.
Marked addOccurrences(std::string_view bytes, const std::string& marker,
                      const std::vector<MarkerSample>& samples, const TrialTiming& timing,
                      const std::filesystem::path& path);

/// A marker file without markers, of the dataset of that name.
std::string emptyMarkerFile(const std::string& dataset);

/// Whether a marker file has markers to its reader, and whether it says that there are none.
struct MarkerCounts {
  bool hasMarkers = false;
  bool isUnderstood = false;  ///< it gives the number of its markers, or is blank
};
MarkerCounts markersIn(std::string_view bytes);

}  // namespace ctfmeg::edit
