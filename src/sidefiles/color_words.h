#pragma once

#include <megreader/datamodel/marker.h>
#include <megreader/reader/reading_rules.h>

/// Sets a marker's colour from the text of its colour line. Returns 1, or 0 with black for a text that names
/// no known colour.
int colorFromName(const CString& text, CMarkerDatazk& marker, const ReadingRules& rules);
