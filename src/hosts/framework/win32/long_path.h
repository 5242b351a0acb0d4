#pragma once

#include <string>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// A path as system calls take it, whatever its length: a long one becomes absolute and gets the prefix that
/// lifts the limit of 260 characters. A path that begins with a prefix of the system's stays as it is.
MEGREADER_API std::wstring longPath(const CString& path);
