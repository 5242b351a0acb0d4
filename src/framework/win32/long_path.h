#pragma once

#include <string>

#include "framework/cstring.h"

/// A path as system calls take it, whatever its length: a long one becomes absolute and gets the prefix that
/// lifts the limit of 260 characters.
std::wstring longPath(const CString& path);
