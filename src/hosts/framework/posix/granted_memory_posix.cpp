#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "hosts/framework/granted_memory.h"

namespace {

/// The number in a file of one line; none for "max" and for a file that isn't there.
std::uint64_t limitIn(const std::string& file, std::uint64_t none) {
  std::ifstream stream(file);
  std::uint64_t limit = 0;
  return stream >> limit ? limit : none;
}

/// The smallest limit of the group and of those that it is in.
std::uint64_t limitAbove(const std::string& root, std::string group, const char* file, std::uint64_t limit) {
  for (;;) {
    limit = std::min(limit, limitIn(root + group + "/" + file, limit));
    if (group.empty()) return limit;
    group.resize(group.find_last_of('/') == std::string::npos ? 0 : group.find_last_of('/'));
  }
}

}  // namespace

std::uint64_t grantedMemory() {
  std::uint64_t granted =
      static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  // A line for each hierarchy: its number, its controllers (none in the unified one), this process's group.
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {
    const std::size_t first = line.find(':'), second = line.find(':', first + 1);
    if (second == std::string::npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1),
                      group = line.substr(second + 1);
    if (controllers.empty())
      granted = limitAbove("/sys/fs/cgroup", group, "memory.max", granted);
    else if (("," + controllers + ",").find(",memory,") != std::string::npos)
      granted = limitAbove("/sys/fs/cgroup/memory", group, "memory.limit_in_bytes", granted);
  }
  return granted;
}
