#pragma once

#include <string>
#include <string_view>

namespace ctfmeg::output {

/// UTF-8 text for a terminal: control characters, characters that turn the direction of writing or show
/// nothing, and bytes that are no UTF-8, become visible (`\x1b`), so that text from a file can neither move
/// the cursor nor set a title nor look like another.
std::string visible(std::string_view text);

/// JSON with the same characters in its strings escaped.
std::string harmlessJson(std::string_view json);

/// At most `most` columns of a text made visible, with an ellipsis in the place of more.
std::string clipped(const std::string& visibleText, std::size_t most);

/// A text made visible with line feeds in the place of blanks, so that no line is wider than `most` columns
/// unless a word is; lines after the first begin with `indent` blanks.
std::string wrapped(const std::string& visibleText, std::size_t most, std::size_t indent);

/// Characters that `text` takes on a terminal, one column each.
std::size_t columns(std::string_view text);

}  // namespace ctfmeg::output
