#pragma once

#include "framework/cstring.h"

/// A path as this system writes it, in the Windows form that readers work with: on POSIX systems slashes
/// become backslashes.
CString toWindowsPath(CString path);
