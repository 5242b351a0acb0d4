#pragma once

#include <cstddef>
#include <span>

#include <megreader/framework/cstring.h>
#include <megreader/reader/reading_rules.h>

/// A text field of fixed width, trimmed.
CString fixedTextToString(std::span<const std::byte> field, const ReadingRules& rules);

/// A name that a zero byte ends, in a field of `width` bytes at `offset` of `buffer`, not trimmed. `buffer`
/// must hold the field; a name without a zero byte may run on to the end of the buffer.
CString decodeName(std::span<const std::byte> buffer, std::size_t offset, std::size_t width,
                   const ReadingRules& rules);
