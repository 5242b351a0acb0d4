#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Numbers in lines of text files, which are changed one by one while the rest of the line stays.

namespace ctfmeg::edit {

/// The word of that number, from 0, as readers of numbers see words; nothing where there are fewer. It points
/// into the line.
std::optional<std::string_view> wordAt(std::string_view line, int number);

/// Puts a text in the place of a word of the line; words before and after it stay as they are.
void replaceWord(std::string& line, int number, std::string_view text);

/// As the number in a file's word is written: with a plus sign where that has one.
std::string numberLike(std::string_view word, std::int64_t value);
std::string secondsLike(std::string_view word, double seconds);

}  // namespace ctfmeg::edit
