#include "cli/channel_selection.h"

#include <string_view>

#include "cli/commands.h"
#include "cli/list_items.h"

namespace ctfmeg::cli {
namespace {

bool matches(std::string_view pattern, std::string_view name) {
  // On a mismatch behind a `*`, that star takes one character more.
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t p = 0, n = 0, star = kNone, starName = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starName = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (star != kNone) {
      p = star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == kNone;
}

}  // namespace

std::vector<Channel> selectChannels(const Recording& recording, const std::string& dataset,
                                    const std::optional<std::string>& list) {
  const std::vector<Channel>& channels = recording.channels();
  if (!list) return channels;
  std::vector<bool> wanted(channels.size(), false);
  for (const std::string& item : itemsOf(*list)) {
    bool found = false;
    for (std::size_t c = 0; c < channels.size(); ++c)
      if (matches(item, channels[c].name) || matches(item, channels[c].shortName)) wanted[c] = found = true;
    if (!found)
      throw CommandError(dataset,
                         "no channel is called \"" + item + "\"; `ctfmeg channels` lists what there is");
  }
  std::vector<Channel> selected;
  for (std::size_t c = 0; c < channels.size(); ++c)
    if (wanted[c]) selected.push_back(channels[c]);
  return selected;
}

}  // namespace ctfmeg::cli
