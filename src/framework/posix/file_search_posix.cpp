#include "framework/file_search.h"

#include <sys/stat.h>

#include "framework/native_path.h"

bool fileExists(const CString& path) {
  struct stat status {};
  return lstat(toNativePath(path).c_str(), &status) == 0;
}
