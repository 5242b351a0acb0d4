#include "hosts/framework/file_search.h"

#include <sys/stat.h>

#include <cerrno>

#include <megreader/framework/native_path.h>

bool fileExists(const CString& path) {
  struct stat status {};
  if (lstat(toNativePath(path).c_str(), &status) == 0) return true;
  // A path that can't lead anywhere is a missing file, which is passed over in silence. Whatever else hides a
  // file is reported when it is opened.
  return errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG && errno != ELOOP;
}
