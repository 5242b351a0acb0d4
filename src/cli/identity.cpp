#include "cli/identity.h"

#include <algorithm>
#include <filesystem>

#include "host/path_text.h"

namespace ctfmeg::cli {

std::string lastName(const std::string& path) {
  const std::filesystem::path given = pathFromText(path);
  return textOf((given.has_filename() ? given : given.parent_path()).filename());
}

std::string shownPath(const std::string& path, bool noIdentity) { return noIdentity ? lastName(path) : path; }

std::string reasonOf(const std::string& path, const Error& error) {
  const std::string file = textOf(error.path());
  return file == path ? error.text() : lastName(file) + ": " + error.text();
}

bool mayBeShown(const Finding& finding, bool noIdentity) {
  if (!noIdentity) return true;
  return finding.code != "message" && finding.code != "samples.spilled" && finding.code != "memory.spill";
}

std::vector<std::string> shownBadChannels(const Recording& recording, bool noIdentity) {
  std::vector<std::string> names = recording.badChannels();
  if (!noIdentity) return names;
  const auto isChannel = [&recording](const std::string& name) {
    return std::any_of(recording.channels().begin(), recording.channels().end(),
                       [&](const Channel& c) { return c.name == name || c.shortName == name; });
  };
  std::erase_if(names, [&](const std::string& name) { return !isChannel(name); });
  return names;
}

}  // namespace ctfmeg::cli
