#pragma once

#include <megreader/framework/cstring.h>

/// Reports that a call on `path` came without an object to fill, and gives 0: the result of the call.
int failWithoutTarget(const CString& path);
