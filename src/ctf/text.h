#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include <ctfmeg/reading_rules.h>

// Texts of a dataset's files as UTF-8.

namespace ctfmeg {

/// Text that is not of fixed width: lines and values of side files, names that a zero byte ends.
std::string decodeText(std::string_view bytes, const ReadingRules& rules);

/// A text field of fixed width, trimmed.
std::string decodeFixedText(std::span<const std::byte> field, const ReadingRules& rules);

/// A name that a zero byte ends, in a field of `width` bytes at `offset` of `buffer`, not trimmed. `buffer`
/// must hold the field; a name without a zero byte may run on to the end of the buffer.
std::string decodeName(std::span<const std::byte> buffer, std::size_t offset, std::size_t width,
                       const ReadingRules& rules);

}  // namespace ctfmeg
