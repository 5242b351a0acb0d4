#include "cli/identity.h"

#include <filesystem>

namespace ctfmeg::cli {

std::string lastName(const std::string& path) {
  const std::filesystem::path given(path);
  return (given.has_filename() ? given : given.parent_path()).filename().string();
}

std::string shownPath(const std::string& path, bool noIdentity) { return noIdentity ? lastName(path) : path; }

}  // namespace ctfmeg::cli
