#include <algorithm>
#include <cmath>

#include "base/encoding.h"
#include "base/nearest.h"
#include "base/scan.h"
#include "ctf/side_files.h"
#include "ctf/text.h"
#include "edit/event_lines.h"
#include "edit/line_words.h"
#include "edit/marking.h"
#include "output/numbers.h"

namespace ctfmeg::edit {
namespace {

void addLine(std::vector<TextLine>& lines, const std::string& text) {
  const std::string end = lineEndOf(lines);
  if (!lines.empty() && lines.back().end.empty()) lines.back().end = end;
  lines.push_back({text, end});
}

/// BadChannels as its reader takes it.
class BadLines {
 public:
  explicit BadLines(const std::vector<Channel>& channels) : m_channels(channels) {}

  /// Places of the channels that a line marks: those of that full name, else those of that short name.
  std::vector<int> markedBy(const std::string& name, bool* isShort = nullptr) const {
    std::vector<int> marked;
    for (const auto member : {&Channel::name, &Channel::shortName}) {
      for (const Channel& channel : m_channels)
        if (channel.*member == name) marked.push_back(channel.index);
      if (isShort != nullptr) *isShort = member == &Channel::shortName;
      if (!marked.empty()) break;
    }
    return marked;
  }

  std::vector<int> markedBy(const TextLine& line, bool* isShort = nullptr) const {
    if (line.text.empty()) return {};
    return markedBy(decodeText(readPartOf(line), ReadingRules::plain()), isShort);
  }

  std::set<int> markedBy(const std::vector<TextLine>& lines) const {
    std::set<int> all;
    for (const TextLine& line : lines)
      for (const int place : markedBy(line))
        all.insert(place);
    return all;
  }

  bool areShort(const std::vector<TextLine>& lines) const {
    bool any = false, all = true;
    for (const TextLine& line : lines) {
      bool isShort = false;
      if (markedBy(line, &isShort).empty()) continue;
      any = true;
      all = all && isShort;
    }
    return any && all;
  }

 private:
  const std::vector<Channel>& m_channels;
};

/// "a, b, c and 7 more".
std::string fewOf(const std::vector<Channel>& channels, const std::set<int>& places) {
  constexpr std::size_t kMostNamed = 5;
  std::vector<std::string> names;
  for (const int place : places)
    if (names.size() < kMostNamed) names.push_back(channels[static_cast<std::size_t>(place)].name);
  if (places.size() > names.size()) names.push_back(std::to_string(places.size() - names.size()) + " more");
  return listText(names);
}

}  // namespace

std::optional<Marked> markChannels(std::string_view bytes, const std::vector<Channel>& channels,
                                   const std::set<int>& bad, const std::set<int>& good) {
  auto lines = linesOf(bytes);
  const BadLines reader(channels);
  const bool areShort = reader.areShort(lines);
  std::set<int> wanted = reader.markedBy(lines), badAlready, goodAlready;
  for (const int place : bad)
    if (!wanted.insert(place).second) badAlready.insert(place);
  for (const int place : good)
    if (wanted.erase(place) == 0) goodAlready.insert(place);

  Marked marked;
  const auto isWanted = [&](int place) { return wanted.contains(place); };
  const auto staying = std::remove_if(lines.begin(), lines.end(), [&](const TextLine& line) {
    const auto places = reader.markedBy(line);
    return !std::all_of(places.begin(), places.end(), isWanted);
  });
  marked.note(Change::What::removed, "channels", lines.end() - staying);
  lines.erase(staying, lines.end());
  for (const int place : wanted) {
    if (reader.markedBy(lines).contains(place)) continue;
    const Channel& channel = channels[static_cast<std::size_t>(place)];
    const auto byShort = reader.markedBy(channel.shortName);
    const bool usesShort = areShort && byShort == std::vector<int>{place};
    const std::string& name = usesShort ? channel.shortName : channel.name;
    addLine(lines, windows1252FromUtf8(name).value_or(name));
    marked.note(Change::What::replaced, "channels");
  }
  if (reader.markedBy(lines) != wanted) return std::nullopt;
  if (!badAlready.empty()) marked.there.push_back("marks as bad already " + fewOf(channels, badAlready));
  if (!goodAlready.empty()) marked.there.push_back("does not mark as bad " + fewOf(channels, goodAlready));
  marked.bytes = marked.changes.empty() ? std::string(bytes) : textOf(lines);
  return marked;
}

Marked addBadSegments(std::string_view bytes, const std::vector<BadSegment>& segments, double sampleRate) {
  constexpr double kRounding = 1e-3;  // samples
  const double nearMs = 1000.0 * kRounding / sampleRate;
  auto lines = linesOf(bytes);
  std::string like = "0\t\t0\t\t0";
  std::vector<BadSegment> there;
  for (const TextLine& line : lines) {
    const std::string read(readPartOf(line));
    const auto segment = parseBadSegment(read, ReadingRules::plain());
    if (!segment) continue;
    there.push_back(*segment);
    like = read.substr(0, static_cast<std::size_t>(wordAt(read, 2)->end() - std::string_view(read).begin()));
  }
  Marked marked;
  for (const BadSegment& segment : segments) {
    const auto isSame = [&](const BadSegment& other) {
      return other.trial == segment.trial && std::abs(other.startMs - segment.startMs) <= nearMs &&
             std::abs(other.endMs - segment.endMs) <= nearMs;
    };
    const double start = segment.startMs / 1000.0, end = segment.endMs / 1000.0;
    if (std::any_of(there.begin(), there.end(), isSame)) {
      marked.there.push_back("has the segment of trial " + std::to_string(segment.trial) + " from " +
                             output::brief(start) + " to " + output::brief(end) + " s already");
      continue;
    }
    std::string text = like;
    replaceWord(text, 0, numberLike(*wordAt(like, 0), segment.trial));
    replaceWord(text, 1, secondsLike(*wordAt(like, 1), start));
    replaceWord(text, 2, secondsLike(*wordAt(like, 2), end));
    addLine(lines, text);
    there.push_back(segment);
    marked.note(Change::What::replaced, "segments");
  }
  marked.bytes = marked.changes.empty() ? std::string(bytes) : textOf(lines);
  return marked;
}

}  // namespace ctfmeg::edit
