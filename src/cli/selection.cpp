#include "cli/selection.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <set>
#include <string_view>

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
    return text.starts_with('-') ? std::numeric_limits<Number>::lowest() : std::numeric_limits<Number>::max();
  return number;
}

}  // namespace

std::optional<int> parseCount(const std::string& text) {
  const auto count = parseNumber<int>(text);
  return count && *count >= 1 ? count : std::nullopt;
}

std::optional<double> parseSeconds(const std::string& text) {
  const auto seconds = parseNumber<double>(std::string_view(text).substr(text.starts_with('+') ? 1 : 0));
  return seconds && std::isfinite(*seconds) ? seconds : std::nullopt;
}

std::optional<std::uint32_t> parseBits(const std::string& text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const std::string_view digits = std::string_view(text).substr(hex ? 2 : 0);
  std::uint32_t bits = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), bits, hex ? 16 : 10);
  return error == std::errc() && end == digits.data() + digits.size() ? std::optional(bits) : std::nullopt;
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

std::optional<Epoching::Baseline> parseBaseline(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) return std::nullopt;
  const auto from = parseSeconds(text.substr(0, colon)), to = parseSeconds(text.substr(colon + 1));
  if (!from || !to) return std::nullopt;
  return Epoching::Baseline{*from, *to};
}

std::optional<std::vector<PeakToPeak>> parseLimits(const std::string& text) {
  std::vector<PeakToPeak> limits;
  for (const std::string& item : itemsOf(text)) {
    const std::size_t equals = item.find('=');
    const auto limit = equals == std::string::npos ? std::nullopt : parseSeconds(item.substr(equals + 1));
    if (equals == 0 || !limit || *limit <= 0) return std::nullopt;
    limits.push_back({item.substr(0, equals), *limit});
  }
  return limits;
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

std::optional<std::vector<std::string>> parseNames(const std::string& text) { return itemsOf(text); }

}  // namespace ctfmeg::cli
