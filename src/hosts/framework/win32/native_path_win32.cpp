#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>

// Hosts give paths in the form that they are; slashes are no separators to them.

CString toWindowsPath(CString path) { return path; }
CString toWindowsPath(const std::string& path) { return fromUtf8(path); }
// NOLINTNEXTLINE(performance-unnecessary-value-param): the same for every system
std::string toNativePath(CString path) { return toUtf8(path); }
