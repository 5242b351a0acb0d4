#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "edit/text_document.h"

namespace ctfmeg::edit {

/// A line of words with blanks or tabs between them, as far as it has the form that it should have.
struct FormedLine {
  std::string text;  ///< the line up to the last of these words, or whole where only blanks follow
  std::vector<std::string> words;
  bool cut = false;  ///< something followed that is left out, or a number of too many digits is written anew
};

/// The shortest text that is read as this number again.
std::string shortestText(double number);

/// Compares a line's words with a form: "d" is an integer, "f" a number, "s" any word. Nothing where a word
/// is otherwise, or missing. What follows a zero byte is not read.
std::optional<FormedLine> formedLine(const TextLine& line, std::string_view form);

}  // namespace ctfmeg::edit
