#pragma once

#include <memory>

#include <megreader/datamodel/marker.h>
#include "util/line_source.h"

/// A class of ClassFile.cls, from behind the line that holds "CLASSGROUPID:". Null when it is to be abandoned
/// and with it the file.
std::unique_ptr<CMarkerDatazk> parseOneClass(LineSource& lines, const ReadingRules& rules);
