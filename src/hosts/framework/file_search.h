#pragma once

#include <megreader/framework/cstring.h>

/// Whether something of exactly that name is there: a file, a folder or a link.
bool fileExists(const CString& path);
