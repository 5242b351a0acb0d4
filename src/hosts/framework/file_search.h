#pragma once

#include "hosts/framework/bridge.h"

inline bool fileExists(const CString& path) { return ctfmeg::isThere(nativePath(path)); }
