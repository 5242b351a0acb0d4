#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/recording.h"

namespace ctfmeg::cli {

// What `info` shows of a recording, a line each. Empty where there is nothing to be said.

/// Both texts, with `between` where there are both.
std::string joined(const std::string& first, const char* between, const std::string& second);

/// Trials and samples of each: as stored when a route has read some, else as the header has them.
struct Shape {
  std::int64_t trials, samples;
};

Shape shapeOf(const Recording& recording);
std::string trialsText(const Shape& shape, const RecordInfo& record);
/// Where the trigger lies in the trials that were read, or in those of the file.
std::string triggerText(const Recording& recording);
std::string channelsText(const Recording& recording);
std::string coefficientsText(const Recording& recording);
std::string filtersText(const RecordInfo& record);

std::string patientText(const Information& information);
std::string softwareText(const Information& information);
std::string headText(const Fiducials& fiducials);
std::string electrodesText(const Recording& recording);
std::string markersText(const std::vector<Marker>& markers);
std::string classesText(const std::vector<TrialClass>& classes);
std::string badText(const std::vector<std::string>& channels, const std::vector<BadSegment>& segments);
std::string virtualChannelsText(const std::vector<VirtualChannel>& channels);
std::string warningsText(const std::vector<Finding>& warnings);

/// "273 gradiometer, 20 ref-gradiometer", in the order in which the names first occur.
template <class List, class NameOf>
std::string tally(const List& list, NameOf nameOfItem) {
  std::vector<std::pair<std::string, int>> counts;
  for (const auto& item : list) {
    const std::string name = nameOfItem(item);
    const auto known =
        std::find_if(counts.begin(), counts.end(), [&](const auto& c) { return c.first == name; });
    if (known == counts.end())
      counts.emplace_back(name, 1);
    else
      ++known->second;
  }
  std::string text;
  for (const auto& [name, count] : counts)
    text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
  return text;
}

}  // namespace ctfmeg::cli
