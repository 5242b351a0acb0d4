#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>
#include <thread>

#include "base/memory_range.h"
#include "base/threads.h"

// What this process may use of the machine: control groups, as containers and clusters have them, may allow
// less than there is.

namespace ctfmeg {
namespace {

/// Calls `look` with the folders of this process's control group for `controller` and of those that it is in,
/// the innermost first.
template <class Look>
void forEachGroup(const std::string& controller, Look look) {
  // A line for each hierarchy: its number, its controllers (none in the unified one), this process's group.
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {
    const std::size_t first = line.find(':'), second = line.find(':', first + 1);
    if (second == std::string::npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1);
    const bool unified = controllers.empty();
    if (!unified && ("," + controllers + ",").find("," + controller + ",") == std::string::npos) continue;
    const std::string root = unified ? "/sys/fs/cgroup" : "/sys/fs/cgroup/" + controller;
    for (std::string group = line.substr(second + 1);;
         group.resize(std::min(group.rfind('/'), group.size()))) {
      look(root + group + "/", unified);
      if (group.empty() || group.find('/') == std::string::npos) break;
    }
  }
}

/// Numbers at the start of a file; 0 for those that are none, such as "max", and for a file that isn't there.
struct Numbers {
  explicit Numbers(const std::string& file) {
    std::ifstream stream(file);
    stream >> first >> second;
  }
  double first = 0.0, second = 0.0;
};

}  // namespace

std::uint64_t grantedMemory() {
  std::uint64_t granted =
      static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  forEachGroup("memory", [&](const std::string& folder, bool unified) {
    const double limit = Numbers(folder + (unified ? "memory.max" : "memory.limit_in_bytes")).first;
    if (limit > 0.0 && limit < static_cast<double>(granted)) granted = static_cast<std::uint64_t>(limit);
  });
  return granted;
}

int usableProcessors() {
  cpu_set_t set;
  int processors = sched_getaffinity(0, sizeof set, &set) == 0
                       ? CPU_COUNT(&set)
                       : static_cast<int>(std::thread::hardware_concurrency());
  forEachGroup("cpu", [&](const std::string& folder, bool unified) {
    // Microseconds of processor time in each period.
    const Numbers both(folder + "cpu.max");
    const double quota = unified ? both.first : Numbers(folder + "cpu.cfs_quota_us").first;
    const double period = unified ? both.second : Numbers(folder + "cpu.cfs_period_us").first;
    if (quota > 0.0 && period > 0.0)
      processors = std::min(processors, static_cast<int>(std::ceil(quota / period)));
  });
  return std::max(processors, 1);
}

}  // namespace ctfmeg
