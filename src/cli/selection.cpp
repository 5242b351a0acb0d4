#include "cli/selection.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <set>
#include <string_view>

#include "cli/commands.h"

namespace ctfmeg::cli {
namespace {

/// The text between the commas of a list; at least one item, possibly empty.
std::vector<std::string> itemsOf(const std::string& list) {
  std::vector<std::string> items{""};
  for (const char c : list)
    if (c == ',')
      items.emplace_back();
    else
      items.back() += c;
  return items;
}

/// A number that does not fit is the largest or smallest that does: it is beyond what there is either way.
template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) return std::nullopt;
  if (error == std::errc::result_out_of_range)
    return text.starts_with('-') ? std::numeric_limits<Number>::min() : std::numeric_limits<Number>::max();
  return number;
}

bool matches(std::string_view pattern, std::string_view name) {
  // On a mismatch after a `*`, that star takes one character more.
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t p = 0, n = 0, star = kNone, starName = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starName = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (star != kNone) {
      p = star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == kNone;
}

}  // namespace

std::optional<int> parseCount(const std::string& text) {
  const auto count = parseNumber<int>(text);
  return count && *count >= 1 ? count : std::nullopt;
}

std::optional<SampleSpan> parseSpan(const std::string& text) {
  const std::string_view view = text;
  const std::size_t colon = view.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto first = parseNumber<std::int64_t>(view.substr(0, colon));
  const auto last = parseNumber<std::int64_t>(view.substr(colon + 1));
  if (!first || !last) return std::nullopt;
  return SampleSpan{*first, *last};
}

std::optional<std::vector<int>> parseTrials(const std::string& text) {
  constexpr int kBeyond = 32767;  // the first number that no dataset has: where a range to nowhere may stop
  std::set<int> numbers;
  for (const std::string& item : itemsOf(text)) {
    const std::string_view view = item;
    const std::size_t dash = view.find('-');
    const auto first = parseNumber<int>(view.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : parseNumber<int>(view.substr(dash + 1));
    if (!first || !last || *first < 0 || *last < *first) return std::nullopt;
    numbers.insert(*first);
    for (int number = *first; number < std::min(*last, kBeyond); ++number)
      numbers.insert(number + 1);
  }
  return std::vector<int>(numbers.begin(), numbers.end());
}

std::vector<Channel> selectChannels(const std::vector<Channel>& channels, const std::string& dataset,
                                    const std::optional<std::string>& list) {
  if (!list) return channels;
  std::vector<bool> wanted(channels.size(), false);
  for (const std::string& item : itemsOf(*list)) {
    bool found = false;
    for (std::size_t c = 0; c < channels.size(); ++c)
      if (matches(item, channels[c].name) || matches(item, channels[c].shortName)) wanted[c] = found = true;
    if (!found)
      throw CommandError(dataset,
                         "no channel is called \"" + item + "\"; `ctfmeg channels` lists what there is");
  }
  std::vector<Channel> selected;
  for (std::size_t c = 0; c < channels.size(); ++c)
    if (wanted[c]) selected.push_back(channels[c]);
  return selected;
}

}  // namespace ctfmeg::cli
