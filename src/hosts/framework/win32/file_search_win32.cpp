#include <windows.h>

#include "hosts/framework/file_search.h"
#include "hosts/framework/win32/long_path.h"

bool fileExists(const CString& path) {
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(longPath(path).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  FindClose(search);
  return true;
}
