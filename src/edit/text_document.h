#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ctfmeg::edit {

/// A line of a text file, whose bytes are kept. `end` is what ends it: CR, LF or CR LF; empty for a last line
/// without a line break.
struct TextLine {
  std::string text;
  std::string end;
};

std::vector<TextLine> linesOf(std::string_view bytes);
/// The reverse: `textOf(linesOf(bytes))` is `bytes`.
std::string textOf(const std::vector<TextLine>& lines);

/// How lines of a file end that are put into it: as its first one does.
std::string lineEndOf(const std::vector<TextLine>& lines);

}  // namespace ctfmeg::edit
