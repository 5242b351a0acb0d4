#include "framework/file_search.h"

#include <sys/stat.h>

#include <cerrno>

#include "framework/native_path.h"

bool fileExists(const CString& path) {
  struct stat status {};
  if (lstat(toNativePath(path).c_str(), &status) == 0) return true;
  // Whatever else hides a file is told when it is opened: only a missing one is passed over in silence.
  return errno != ENOENT && errno != ENOTDIR;
}
