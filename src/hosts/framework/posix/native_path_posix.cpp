#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>

CString toWindowsPath(CString path) {
  path.Replace(L'/', L'\\');
  return path;
}

CString toWindowsPath(const std::string& path) { return toWindowsPath(fromUtf8(path)); }

std::string toNativePath(CString path) {
  path.Replace(L'\\', L'/');
  return toUtf8(path);
}
