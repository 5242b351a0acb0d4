#pragma once

#include <string>
#include <string_view>

namespace ctfmeg::cli {

/// UTF-8 text for a terminal: control characters, and bytes that are no UTF-8, become visible (`\x1b`), so
/// that text from a file can neither move the cursor nor set a title.
std::string visible(std::string_view text);

/// Characters that `text` takes on a terminal, one column each.
std::size_t columns(std::string_view text);

}  // namespace ctfmeg::cli
