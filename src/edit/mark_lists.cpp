#include <algorithm>
#include <cmath>
#include <unordered_map>

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
class BadNames {
 public:
  explicit BadNames(const std::vector<Channel>& channels) {
    for (const Channel& channel : channels) {
      if (channel.name.empty()) continue;  // an empty line marks none
      m_names[channel.name].push_back(channel.index);
      m_shortNames[channel.shortName].push_back(channel.index);
    }
  }

  /// Places of the channels that a name marks: those of that full name, else those of that short name.
  const std::vector<int>& markedBy(const std::string& name) const {
    static const std::vector<int> kNone;
    for (const auto* names : {&m_names, &m_shortNames})
      if (const auto found = names->find(name); found != names->end()) return found->second;
    return kNone;
  }
  const std::vector<int>& markedBy(const TextLine& line) const { return markedBy(nameIn(line)); }

  std::set<int> markedBy(const std::vector<TextLine>& lines) const {
    std::set<int> all;
    for (const TextLine& line : lines)
      all.insert(markedBy(line).begin(), markedBy(line).end());
    return all;
  }

  /// Whether there are names of channels, and all of them are short.
  bool areShort(const std::vector<TextLine>& lines) const {
    bool any = false, all = true;
    for (const TextLine& line : lines) {
      if (markedBy(line).empty()) continue;
      any = true;
      all = all && !m_names.contains(nameIn(line));
    }
    return any && all;
  }

 private:
  static std::string nameIn(const TextLine& line) {
    return decodeText(readPartOf(line), ReadingRules::plain());
  }

  std::unordered_map<std::string, std::vector<int>> m_names, m_shortNames;
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
  const BadNames reader(channels);
  const bool areShort = reader.areShort(lines);
  std::set<int> wanted = reader.markedBy(lines), badAlready, goodAlready;
  for (const int place : bad)
    if (!wanted.insert(place).second) badAlready.insert(place);
  for (const int place : good)
    if (wanted.erase(place) == 0) goodAlready.insert(place);

  Marked marked;
  const auto isWanted = [&](int place) { return wanted.contains(place); };
  const auto staying = std::remove_if(lines.begin(), lines.end(), [&](const TextLine& line) {
    const auto& places = reader.markedBy(line);
    return !std::all_of(places.begin(), places.end(), isWanted);
  });
  marked.note(Change::What::removed, "channels", lines.end() - staying);
  lines.erase(staying, lines.end());
  std::set<int> covered = reader.markedBy(lines);
  for (const int place : wanted) {
    if (covered.contains(place)) continue;
    const Channel& channel = channels[static_cast<std::size_t>(place)];
    const bool usesShort = areShort && reader.markedBy(channel.shortName) == std::vector<int>{place};
    const std::string& name = usesShort ? channel.shortName : channel.name;
    covered.insert(reader.markedBy(name).begin(), reader.markedBy(name).end());
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
    like = read.substr(
        0, static_cast<std::size_t>(wordAt(read, 2)->data() + wordAt(read, 2)->size() - read.data()));
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
