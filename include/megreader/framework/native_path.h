#pragma once

#include <string>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// A path as this system writes it, in the Windows form that readers work with: on POSIX systems slashes
/// become backslashes.
MEGREADER_API CString toWindowsPath(CString path);

/// Does so for a path in this system's bytes: UTF-8, other bytes carried along (see `fromUtf8`).
MEGREADER_API CString toWindowsPath(const std::string& path);

/// A path in Windows form as this system writes it.
MEGREADER_API std::string toNativePath(CString path);
