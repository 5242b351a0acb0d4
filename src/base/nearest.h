#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ctfmeg {

/// Those of `words` that somebody who wrote `word` may have meant, the nearest first, at most three. A letter
/// that is wrong, missing, too many or swapped with the next counts one; the beginning of a word is near to
/// it. Upper and lower case are the same. Empty where nothing is near.
std::vector<std::string> nearestOf(std::string_view word, const std::vector<std::string>& words);

/// "; the nearest is a" or "; the nearest are a, b and c"; empty where nothing is near.
std::string nearestText(std::string_view word, const std::vector<std::string>& words);

/// "a", "a and b", "a, b and c"; with "or" for choices.
std::string listText(const std::vector<std::string>& items, const char* last = "and");

}  // namespace ctfmeg
