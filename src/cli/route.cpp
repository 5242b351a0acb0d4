#include "cli/route.h"

#include <charconv>
#include <set>
#include <string_view>

#include "cli/list_items.h"

namespace ctfmeg::cli {
namespace {

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<int> parseCount(const std::string& text) {
  const auto count = parseNumber<int>(text);
  return count && *count >= 1 ? count : std::nullopt;
}

}  // namespace

std::optional<EveryNth> parseEveryNth(const std::string& text) {
  const auto n = parseCount(text);
  return n ? std::optional(EveryNth{*n}) : std::nullopt;
}

std::optional<Pieces> parsePieces(const std::string& text) {
  const auto count = parseCount(text);
  return count ? std::optional(Pieces{*count}) : std::nullopt;
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

std::optional<TrialList> parseTrials(const std::string& text) {
  constexpr int kMostTrials = 32767;  // that a dataset can have
  std::set<int> numbers;
  for (const std::string& item : itemsOf(text)) {
    const std::string_view view = item;
    const std::size_t dash = view.find('-');
    const auto first = parseNumber<int>(view.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : parseNumber<int>(view.substr(dash + 1));
    if (!first || !last || *first < 0 || *last < *first || *last > kMostTrials) return std::nullopt;
    for (int number = *first; number <= *last; ++number)
      numbers.insert(number);
  }
  return TrialList{{numbers.begin(), numbers.end()}};
}

}  // namespace ctfmeg::cli
