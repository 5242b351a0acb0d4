#include <windows.h>

#include <algorithm>
#include <bit>
#include <thread>

#include "base/memory_range.h"
#include "base/threads.h"

namespace ctfmeg {

std::uint64_t grantedMemory() {
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof status;
  return GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : UINT64_MAX;
}

int usableProcessors() {
  DWORD_PTR ours = 0, all = 0;
  const bool known = GetProcessAffinityMask(GetCurrentProcess(), &ours, &all) != 0;
  const int processors = known ? std::popcount(static_cast<std::uint64_t>(ours))
                               : static_cast<int>(std::thread::hardware_concurrency());
  return std::max(processors, 1);
}

}  // namespace ctfmeg
