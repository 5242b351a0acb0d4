#include "base/nearest.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "base/encoding.h"

namespace ctfmeg {
namespace {

/// Letters to be replaced, left out, put in or swapped with the next, each letter once (optimal string
/// alignment).
std::size_t distanceBetween(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::swap(beforeLast, last);
    std::swap(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = a[i - 1] == b[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row[b.size()];
}

}  // namespace

std::vector<std::string> nearestOf(std::string_view word, const std::vector<std::string>& words) {
  constexpr std::size_t kLongest = 64;  // no name that somebody types; keeps the work small
  constexpr std::size_t kMost = 3;
  if (word.size() < 2 || word.size() > kLongest) return {};
  const std::string wanted = lowered(std::string(word));
  const std::size_t near = std::clamp<std::size_t>(word.size() / 3, 1, 3);
  std::vector<std::pair<std::size_t, std::string>> found;
  for (const std::string& candidate : words) {
    const std::string there = lowered(candidate);
    if (there.size() > 2 * kLongest) continue;
    const std::size_t distance = there.starts_with(wanted) ? there != wanted : distanceBetween(wanted, there);
    if (distance <= near) found.emplace_back(distance, candidate);
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> nearest;
  std::set<std::string> known;
  for (const auto& [distance, candidate] : found)
    if (nearest.size() < kMost && known.insert(lowered(candidate)).second) nearest.push_back(candidate);
  return nearest;
}

std::string nearestText(std::string_view word, const std::vector<std::string>& words) {
  const auto nearest = nearestOf(word, words);
  if (nearest.empty()) return "";
  return (nearest.size() == 1 ? "; the nearest is " : "; the nearest are ") + listText(nearest);
}

std::string listText(const std::vector<std::string>& items, const char* last) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i)
    text += (i == 0 ? "" : i + 1 == items.size() ? std::string(" ") + last + " " : ", ") + items[i];
  return text;
}

}  // namespace ctfmeg
