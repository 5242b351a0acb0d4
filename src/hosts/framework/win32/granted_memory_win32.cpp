#include <windows.h>

#include "hosts/framework/granted_memory.h"

std::uint64_t grantedMemory() {
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof status;
  return GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : UINT64_MAX;
}
