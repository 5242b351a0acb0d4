#include "edit/event_lines.h"

#include <algorithm>

#include "base/scan.h"

namespace ctfmeg::edit {
namespace {

/// Goes over the lines as the reader of the file does, by the plain rules.
class EventLineWalk {
 public:
  EventLineWalk(const std::vector<TextLine>& lines, const EventBlockKind& kind, const TrialTiming& timing)
      : m_lines(lines),
        m_kind(kind),
        m_timing(timing),
        m_isMarkers(kind.countCode == Code::markerCount),
        m_roles(lines.size()) {
    const bool lastIsCut = !lines.empty() && lines.back().end.empty();
    m_end = isUtf16(lines) ? 0 : lines.size() - (lastIsCut ? 1 : 0);
    for (std::size_t i = 0; i < lines.size(); ++i)
      if (lines[i].text.empty()) m_roles[i].role = EventRole::blank;
  }

  std::vector<EventLine> roles() {
    while (toNext()) {
      if (holdsWord(kPathKeyword)) {
        set(EventRole::pathKeyword);
        if (!toValue()) break;
        set(EventRole::pathValue);
      }
      // A value that is missing leaves the next keyword in its place.
      if (holdsWord(m_kind.total)) {
        set(EventRole::totalKeyword);
        if (!toValue()) break;
        set(EventRole::totalValue);
      }
      if (holdsKeyword(kNextBlockKeyword))
        block();
      else if (const auto sample = m_block < 0 ? std::nullopt : sampleHere(1.0); sample && !hasRole())
        set(EventRole::surplus, *sample);
    }
    return std::move(m_roles);
  }

 private:
  void block() {
    constexpr std::array kValues{EventRole::name,     EventRole::comment, EventRole::color,
                                 EventRole::editable, EventRole::classId, EventRole::count};
    ++m_block;
    set(EventRole::blockKeyword);
    if (!toValue()) return;
    set(EventRole::groupId);
    std::int32_t count = 0;
    for (std::size_t i = 0; i < kValues.size(); ++i) {
      if (!seek(static_cast<EventKeyword>(kNameKeyword + i))) continue;
      set(EventRole::keyword);
      if (!toValue()) return;
      set(kValues[i]);
      if (kValues[i] == EventRole::count)
        scan(text(), "%d", {&count}, ScanPrecision::full, AfterNumber::blank);
    }
    if (seek(kListKeyword)) set(EventRole::listKeyword);
    list(count);
  }

  void list(std::int64_t count) {
    if (!toNext()) return;
    const auto heading = msPerUnitOf(text());
    const bool isHeading = m_isMarkers ? heading.has_value() : holdsKeyword(kColumnsKeyword);
    if (isHeading)
      set(EventRole::columns);
    else if (holdsKeyword(kNextBlockKeyword))
      return putBack();
    else if (m_isMarkers && sampleHere(1.0))
      putBack();
    for (std::int64_t i = 0; i < count && toNext(); ++i) {
      constexpr double kMsPerSecond = 1000.0;
      if (const auto sample = sampleHere(heading.value_or(kMsPerSecond)))
        set(EventRole::occurrence, *sample);
      else if (holdsKeyword(kNextBlockKeyword))
        return putBack();
      else
        set(EventRole::passedOver);
    }
  }

  /// Goes to the line that holds a keyword of the block. False, before the line, where a later one comes
  /// first.
  bool seek(EventKeyword keyword) {
    const auto* const wanted = m_kind.keywords.begin() + keyword;
    while (toNext()) {
      const auto inLine = [&](const char* word) { return holdsWord(word); };
      if (inLine(*wanted)) return true;
      if (!std::any_of(wanted + 1, m_kind.keywords.end(), inLine)) continue;
      putBack();
      return false;
    }
    return false;
  }

  std::optional<MarkerSample> sampleHere(double msPerUnit) const {
    if (m_isMarkers) return parseMarkerSample(text(), msPerUnit, m_timing, ReadingRules::plain());
    if (const auto trial = parseClassTrial(text(), ReadingRules::plain())) return MarkerSample{*trial};
    return std::nullopt;
  }

  bool toNext() {
    while (m_next < m_end && m_lines[m_next].text.empty())
      ++m_next;
    return toValue();
  }
  bool toValue() {
    if (m_next >= m_end) return false;
    m_here = m_next++;
    return true;
  }
  void putBack() { m_next = m_here; }

  std::string text() const { return std::string(readPartOf(m_lines[m_here])); }
  bool holdsWord(const char* word) const { return holds(readPartOf(m_lines[m_here]), word); }
  bool holdsKeyword(EventKeyword keyword) const { return holdsWord(m_kind.keywords[keyword]); }
  bool hasRole() const { return m_roles[m_here].role != EventRole::other; }
  void set(EventRole role, const MarkerSample& sample = {}) {
    m_roles[m_here] = {role, role < EventRole::blockKeyword ? -1 : m_block, sample};
  }

  const std::vector<TextLine>& m_lines;
  const EventBlockKind& m_kind;
  const TrialTiming& m_timing;
  bool m_isMarkers;
  std::vector<EventLine> m_roles;
  std::size_t m_end = 0;  // of the lines that are read
  std::size_t m_here = 0, m_next = 0;
  int m_block = -1;
};

}  // namespace

bool isUtf16(const std::vector<TextLine>& lines) {
  const auto first =
      std::find_if(lines.begin(), lines.end(), [](const TextLine& line) { return !line.text.empty(); });
  return first != lines.end() && beginsUtf16(first->text);
}

std::vector<EventLine> eventLinesOf(const std::vector<TextLine>& lines, const EventBlockKind& kind,
                                    const TrialTiming& timing) {
  return EventLineWalk(lines, kind, timing).roles();
}

std::string fieldOf(const EventBlockKind& kind, EventKeyword keyword) {
  std::string field = kind.keywords[keyword];
  if (field.ends_with(':')) field.pop_back();
  return field;
}

std::string_view readPartOf(const TextLine& line) {
  return std::string_view(line.text).substr(0, line.text.find('\0'));
}

}  // namespace ctfmeg::edit
