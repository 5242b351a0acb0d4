#include <algorithm>
#include <set>
#include <span>
#include <utility>

#include "base/encoding.h"
#include "base/file.h"
#include "base/scan.h"
#include "ctf/text.h"
#include "edit/event_lines.h"
#include "edit/line_words.h"
#include "edit/marking.h"
#include "output/numbers.h"

namespace ctfmeg::edit {
namespace {

constexpr const char* kHeading = "TRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)";
constexpr const char* kOccurrence = "                  0\t\t\t\t     0";

/// A marker file, line by line, with what each line is. Lines are added by their texts.
class MarkerLines {
 public:
  MarkerLines(std::string_view bytes, const TrialTiming& timing)
      : m_timing(timing),
        m_lines(linesOf(bytes)),
        m_end(lineEndOf(m_lines)),
        m_events(eventLinesOf(m_lines, kMarkerBlock, timing)),
        m_signs(hasSigns()) {}

  const std::vector<TextLine>& lines() const { return m_lines; }
  const std::vector<EventLine>& events() const { return m_events; }

  /// Numbers of the markers of that name.
  std::set<int> blocksOf(const std::string& name) const {
    std::set<int> blocks;
    for (std::size_t i = 0; i < m_lines.size(); ++i)
      if (m_events[i].role == EventRole::name &&
          decodeText(readPartOf(m_lines[i]), ReadingRules::plain()) == name)
        blocks.insert(m_events[i].block);
    return blocks;
  }

  bool has(const std::set<int>& blocks, const MarkerSample& sample) const {
    return std::any_of(m_events.begin(), m_events.end(), [&](const EventLine& event) {
      return event.role == EventRole::occurrence && blocks.contains(event.block) &&
             event.sample.trial == sample.trial && event.sample.sample == sample.sample;
    });
  }

  int total() const {
    return static_cast<int>(std::count_if(m_events.begin(), m_events.end(), [](const EventLine& event) {
      return event.role == EventRole::blockKeyword;
    }));
  }

  /// Whether the last line, which is not read for want of a line break, is in a marker that lacks lines.
  bool endsInsideMarker() const {
    const int last = total() - 1;
    if (last < 0 || !m_lines.back().end.empty() || trimmed(m_lines.back().text).empty()) return false;
    std::int32_t count = INT32_MAX;
    std::int64_t listed = 0;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      const EventRole role = m_events[i].block == last ? m_events[i].role : EventRole::other;
      if (role == EventRole::count)
        scan(readPartOf(m_lines[i]), "%d", {&count}, ScanPrecision::full, AfterNumber::blank);
      if (role == EventRole::occurrence || role == EventRole::passedOver) ++listed;
    }
    return listed < count;
  }

  /// Adds the lines of a marker without occurrences at the end.
  void addMarker(const std::string& name) {
    const std::int64_t id = highestClass() + 1;
    if (!m_lines.empty() && m_lines.back().end.empty()) m_lines.back().end = m_end;
    for (const std::string& text :
         {std::string(kMarkerBlock.keywords[kNextBlockKeyword]) + ":", signedText(3),
          std::string(kMarkerBlock.keywords[kNameKeyword]), windows1252FromUtf8(name).value_or(name),
          // Hosts pass over an empty line, and take the next keyword for the comment.
          std::string(kMarkerBlock.keywords[kCommentKeyword]), std::string("added by ctfmeg mark"),
          std::string(kMarkerBlock.keywords[kColorKeyword]), std::string("blue"),
          std::string(kMarkerBlock.keywords[kEditableKeyword]), std::string("Yes"),
          std::string(kMarkerBlock.keywords[kClassIdKeyword]), signedText(id),
          std::string(kMarkerBlock.keywords[kCountKeyword]), std::string("0"),
          std::string(kMarkerBlock.keywords[kListKeyword]), std::string(kHeading), std::string(),
          std::string()})
      m_lines.push_back({text, m_end});
    look();
    putNumber(EventRole::totalValue, -1, total());
  }

  /// False where the marker's list is not as it should be.
  bool addOccurrence(int block, const MarkerSample& sample) {
    std::size_t after = m_lines.size(), listed = 0;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      const EventLine& event = m_events[i];
      if (event.block != block) continue;
      if (event.role == EventRole::passedOver) ++listed;
      if (event.role == EventRole::columns) {
        if (msPerUnitOf(std::string(readPartOf(m_lines[i]))) != kMsPerSecond) return false;
        after = i;
      } else if (event.role == EventRole::occurrence) {
        ++listed;
        const auto place = [](const MarkerSample& of) { return std::pair(of.trial, of.timeMs); };
        if (after != m_lines.size() && place(event.sample) <= place(sample)) after = i;
      }
    }
    if (after == m_lines.size() || !putNumber(EventRole::count, block, std::ssize(m_lines), true))
      return false;
    std::string text = likeOf(block);
    replaceWord(text, 0, signedText(sample.trial));
    replaceWord(text, 1, secondsLike(m_signs ? "+" : "", sample.timeMs / kMsPerSecond));
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(after) + 1, {text, m_end});
    putNumber(EventRole::count, block, static_cast<std::int64_t>(listed) + 1);
    look();
    return true;
  }

 private:
  static constexpr double kMsPerSecond = 1000.0;

  void look() { m_events = eventLinesOf(m_lines, kMarkerBlock, m_timing); }

  std::string signedText(std::int64_t value) const { return numberLike(m_signs ? "+" : "", value); }

  /// Whether numbers of the file have plus signs: those of its lists, else those of its markers; as in files
  /// of the system where there is none.
  bool hasSigns() const {
    std::optional<bool> lists, markers;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      const EventRole role = m_events[i].role;
      const bool listed = role == EventRole::occurrence;
      if (!listed && role != EventRole::groupId && role != EventRole::classId) continue;
      const std::string_view read = readPartOf(m_lines[i]);
      const bool has = wordAt(read, 0).value_or("").starts_with('+') ||
                       (listed && wordAt(read, 1).value_or("").starts_with('+'));
      auto& found = listed ? lists : markers;
      found = found.value_or(false) || has;
    }
    return lists.value_or(markers.value_or(true));
  }

  std::int64_t highestClass() const {
    std::int64_t highest = 0;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      std::int32_t id = 0;
      if (m_events[i].role == EventRole::classId &&
          scan(readPartOf(m_lines[i]), "%d", {&id}, ScanPrecision::full) == 1)
        highest = std::max<std::int64_t>(highest, id);
    }
    return highest < INT32_MAX ? highest : 0;
  }

  /// Puts a number into a line of that role. False where there is no such line, or no number in it.
  bool putNumber(EventRole role, int block, std::int64_t value, bool onlyLook = false) {
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      if (m_events[i].role != role || m_events[i].block != block) continue;
      std::int32_t before = 0;
      const std::string read(readPartOf(m_lines[i]));
      if (scan(read, "%d", {&before}, ScanPrecision::full, AfterNumber::blank) != 1) continue;
      if (!onlyLook) replaceWord(m_lines[i].text, 0, numberLike(*wordAt(read, 0), value));
      return true;
    }
    return false;
  }

  /// Up to its second number, an occurrence of the marker, else of another one.
  std::string likeOf(int block) const {
    std::string like = kOccurrence;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      if (m_events[i].role != EventRole::occurrence) continue;
      const std::string read(readPartOf(m_lines[i]));
      const auto second = wordAt(read, 1);
      like = read.substr(0, static_cast<std::size_t>(second->data() + second->size() - read.data()));
      if (m_events[i].block == block) break;
    }
    return like;
  }

  const TrialTiming& m_timing;
  std::vector<TextLine> m_lines;
  std::string m_end;
  std::vector<EventLine> m_events;
  bool m_signs;
};

/// The bytes of a marker file, for its reader.
class MarkerBytes : public File {
 public:
  explicit MarkerBytes(std::string_view bytes) : File(""), m_bytes(bytes) {}
  std::uint64_t size() const override { return m_bytes.size(); }
  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    if (offset >= m_bytes.size()) return 0;
    return m_bytes.copy(reinterpret_cast<char*>(out.data()), out.size(), static_cast<std::size_t>(offset));
  }

 private:
  std::string_view m_bytes;
};

class Unheard : public Notices {
  void report(const Finding& /*finding*/) override {}
};

/// A marker's name and class, and where it occurs.
struct SeenMarker {
  std::string name, comment;
  std::int32_t classId;
  std::multiset<std::pair<std::int32_t, std::int64_t>> places;  // trials and samples

  bool operator==(const SeenMarker&) const = default;
};

std::vector<SeenMarker> markersSeen(std::string_view bytes, const TrialTiming& timing) {
  std::vector<SeenMarker> seen;
  Unheard unheard;
  readMarkers(MarkerBytes(bytes), timing, ReadingRules::plain(), unheard, [&](const ReadMarker& read) {
    seen.push_back({read.marker.name, read.marker.comment, read.marker.classId, {}});
    for (const MarkerSample& sample : read.marker.samples)
      seen.back().places.emplace(sample.trial, sample.sample);
    return true;
  });
  return seen;
}

/// Whether a reader of the new bytes has all that it had of the old ones, and what was added to the marker of
/// that number, which may be new.
bool isReadWith(const std::vector<MarkerSample>& added, int block, std::string_view before,
                std::string_view after, const TrialTiming& timing) {
  auto wanted = markersSeen(before, timing);
  const auto seen = markersSeen(after, timing);
  const auto place = static_cast<std::size_t>(block);
  if (place == wanted.size() && place + 1 == seen.size()) {
    wanted.push_back(seen.back());
    wanted.back().places.clear();
  }
  if (place >= wanted.size()) return false;
  for (const MarkerSample& sample : added)
    wanted[place].places.emplace(sample.trial, sample.sample);
  return wanted == seen;
}

}  // namespace

Marked addOccurrences(std::string_view bytes, const std::string& marker,
                      const std::vector<MarkerSample>& samples, const TrialTiming& timing,
                      const std::filesystem::path& path) {
  const auto refuse = [&](const char* why) { throw Error(ErrorKind::refused, path, why); };
  constexpr const char* kNoPlace =
      "has no place for an occurrence: it ends inside a marker, or the marker's list has no count or no "
      "heading, or is not in seconds";
  MarkerLines file(bytes, timing);
  if (file.endsInsideMarker())
    refuse("ends inside a marker: its last line has no line break, so that it may be cut, and is not read");
  const int before = file.total();
  Marked marked;
  std::set<int> blocks = file.blocksOf(marker);
  if (blocks.empty()) {
    file.addMarker(marker);
    blocks = file.blocksOf(marker);
    if (file.total() != before + 1 || blocks != std::set{before}) refuse(kNoPlace);
    marked.note(Change::What::replaced, kMarkerBlock.total);
  }
  std::vector<MarkerSample> added;
  for (const MarkerSample& sample : samples) {
    if (file.has(blocks, sample)) {
      marked.there.push_back("has marker " + marker + " at " + output::brief(sample.timeMs / 1000.0) +
                             " s of trial " + std::to_string(sample.trial) + " already");
      continue;
    }
    if (!file.addOccurrence(*blocks.begin(), sample) || !file.has(blocks, sample)) refuse(kNoPlace);
    added.push_back(sample);
    marked.note(Change::What::replaced, fieldOf(kMarkerBlock, kListKeyword));
  }
  marked.bytes = marked.changes.empty() ? std::string(bytes) : textOf(file.lines());
  if (!marked.changes.empty() && !isReadWith(added, *blocks.begin(), bytes, marked.bytes, timing))
    refuse("would not be read as before with that occurrence in it, and is not changed");
  return marked;
}

std::string emptyMarkerFile(const std::string& dataset) {
  return std::string(kPathKeyword) + "\n" + dataset + "\n\n\n" + kMarkerBlock.total + ":\n0\n\n\n";
}

MarkerCounts markersIn(std::string_view bytes) {
  const auto lines = linesOf(bytes);
  const auto events = eventLinesOf(lines, kMarkerBlock);
  const auto any = [&](EventRole role) {
    return std::any_of(events.begin(), events.end(),
                       [&](const EventLine& event) { return event.role == role; });
  };
  return {any(EventRole::name) || any(EventRole::count),
          any(EventRole::totalValue) || bytes.find_first_not_of(" \t\r\n") == bytes.npos};
}

}  // namespace ctfmeg::edit
