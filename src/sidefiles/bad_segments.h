#pragma once

#include <optional>

#include <megreader/datamodel/meg_data_classify.h>
#include <megreader/reader/reading_rules.h>

/// A line of bad.segments: a trial's number, then start and end of the span in seconds from the trial's
/// start; what follows is ignored. Nothing when it is not of that form.
std::optional<BadSegment> parseBadSegment(const CString& line, const ReadingRules& rules);
