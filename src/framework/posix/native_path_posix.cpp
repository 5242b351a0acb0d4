#include "framework/native_path.h"

CString toWindowsPath(CString path) {
  path.Replace(L'/', L'\\');
  return path;
}
