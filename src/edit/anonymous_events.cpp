#include <algorithm>
#include <initializer_list>

#include "base/encoding.h"
#include "base/scan.h"
#include "edit/anonymous.h"
#include "edit/event_lines.h"
#include "edit/line_form.h"

namespace ctfmeg::edit {
namespace {

using What = Change::What;

constexpr const char* kLinesGone = "lines that are not understood";

std::string wordsOf(std::string_view text) {
  std::string words;
  for (const char c : trimmed(text))
    if (c != ' ' && c != '\t')
      words += c;
    else if (words.back() != ' ')
      words += ' ';
  return words;
}

/// The lines of MarkerFile.mrk or ClassFile.cls, changed by what they are to their reader.
class AnonymousEvents {
 public:
  AnonymousEvents(std::vector<TextLine> lines, const EventBlockKind& kind, const char* list,
                  Anonymous& anonymous)
      : m_kind(kind),
        m_list(list),
        m_isMarkers(list == std::string_view("markers")),
        m_anonymous(anonymous),
        m_lines(std::move(lines)),
        m_roles(eventLinesOf(m_lines, kind)) {}

  Edited run() {
    Edited edited{{}};
    std::vector<TextLine> kept;
    for (m_at = 0; m_at < m_lines.size(); ++m_at) {
      const TextLine& line = m_lines[m_at];
      const auto text = anonymousText(edited);
      if (text && *text != line.text && isFixed(m_roles[m_at].role)) edited.note(What::replaced, "keywords");
      if (text) kept.push_back({*text, line.end});
    }
    edited.bytes = textOf(kept);
    return edited;
  }

 private:
  static bool isFixed(EventRole role) {
    using enum EventRole;
    return role == pathKeyword || role == totalKeyword || role == blockKeyword || role == keyword ||
           role == listKeyword || role == columns;
  }

  /// The line's text in the copy; nothing where the line goes.
  std::optional<std::string> anonymousText(Edited& edited) {
    const TextLine& line = m_lines[m_at];
    const std::string text(readPartOf(line));
    switch (m_roles[m_at].role) {
      case EventRole::blank:
        return line.text;
      case EventRole::pathKeyword:
        return like(line, {kPathKeyword});
      case EventRole::pathValue:
        return path(text, edited);
      case EventRole::totalKeyword:
        return like(line, {std::string(m_kind.total) + ":"});
      case EventRole::blockKeyword:
        return like(line, {"CLASSGROUPID:"});
      case EventRole::keyword:
        return keyword(line);
      case EventRole::totalValue:
      case EventRole::groupId:
      case EventRole::classId:
      case EventRole::count:
        return number(line, edited);
      case EventRole::name:
        m_name = trimmed(text);
        m_anonymous.keep({m_list, ++m_block, std::string(trimmed(text))});
        edited.note(What::kept, "NAME");
        return text;
      case EventRole::comment:
        // A comment that only repeats a part of the name, which stays, says nothing that was removed.
        if (!holds(lowered(m_name), lowered(std::string(trimmed(text))))) m_anonymous.removed.add(text);
        edited.note(What::removed, "COMMENT", line.text.empty() ? 0 : 1);
        return "";
      case EventRole::color:
        if (!colorOf(text, ReadingRules::plain())) return emptied(line, "COLOR", edited);
        edited.note(What::removed, "bytes after colours", text.size() < line.text.size() ? 1 : 0);
        return text;
      case EventRole::editable:
        return editable(line, edited);
      case EventRole::listKeyword:
        return like(line, {m_kind.keywords[kListKeyword]});
      case EventRole::columns:
        return columns(line);
      case EventRole::occurrence:
        return occurrence(line, edited);
      case EventRole::surplus:
      case EventRole::passedOver:
      case EventRole::other:
        break;
    }
    return notUnderstood(edited);
  }

  /// The line as it is where it has only the words that it may have, else the first of them.
  static std::string like(const TextLine& line, const std::vector<std::string>& may) {
    const std::string words = wordsOf(line.text);
    const bool isOne =
        std::any_of(may.begin(), may.end(), [&](const std::string& one) { return words == wordsOf(one); });
    return isOne ? line.text : may.front();
  }

  std::string emptied(const TextLine& line, const char* field, Edited& edited) {
    if (line.text.empty()) return "";
    m_anonymous.removed.add(readPartOf(line));
    edited.note(What::removed, field);
    return "";
  }

  std::string path(const std::string& text, Edited& edited) {
    m_anonymous.removed.addPath(text);
    if (text == m_anonymous.name) return text;
    edited.note(What::replaced, "PATH OF DATASET");
    return m_anonymous.name;
  }

  std::string keyword(const TextLine& line) {
    constexpr std::array kValues{EventRole::name,     EventRole::comment, EventRole::color,
                                 EventRole::editable, EventRole::classId, EventRole::count};
    const auto next = m_at + 1 < m_roles.size() ? m_roles[m_at + 1].role : EventRole::other;
    for (std::size_t i = 0; i < kValues.size(); ++i)
      if (kValues[i] == next) return like(line, {m_kind.keywords[kNameKeyword + i]});
    return "";  // of a value that is not there
  }

  std::string number(const TextLine& line, Edited& edited) {
    const auto formed = formedLine(line, "d");
    if (!formed) {
      emptied(line, "numbers that are none", edited);
      // A reader has the number with which such a line begins.
      std::string text(readPartOf(line));
      const auto role = m_roles[m_at].role;
      if (m_kind.plusSignsRemoved && (role == EventRole::groupId || role == EventRole::classId))
        std::erase(text, '+');
      std::int32_t begins = 0;
      const bool isRead = scan(text, "%d", {&begins}, ScanPrecision::full, AfterNumber::anything) == 1;
      return isRead ? std::to_string(begins) : "";
    }
    edited.note(What::removed, "text after numbers", formed->cut ? 1 : 0);
    return formed->text;
  }

  std::string editable(const TextLine& line, Edited& edited) {
    const std::string word = lowered(wordsOf(line.text));
    if (word.empty() || word == "yes" || word == "no") return line.text;
    const bool yes = holds(readPartOf(line), "Yes");
    emptied(line, "EDITABLE", edited);
    return yes ? "Yes" : "No";
  }

  std::string columns(const TextLine& line) {
    if (!m_isMarkers) return like(line, {m_kind.keywords[kColumnsKeyword]});
    const std::string others = "TRIAL NUMBER\t\tTIME FROM SYNC POINT";
    const std::string seconds = others + " (in seconds)";
    return holds(readPartOf(line), "in seconds") ? like(line, {seconds}) : like(line, {others});
  }

  std::optional<std::string> occurrence(const TextLine& line, Edited& edited) {
    const auto formed = formedLine(line, m_isMarkers ? "df" : "d");
    if (!formed && !m_isMarkers)
      if (const auto trial = parseClassTrial(std::string(readPartOf(line)), ReadingRules::plain())) {
        edited.note(What::removed, "text after numbers");
        return std::to_string(*trial);
      }
    if (!formed) return notUnderstood(edited);
    edited.note(What::removed, "text after numbers", formed->cut ? 1 : 0);
    return formed->text;
  }

  /// A line that is in the place of a list's heading stays the heading.
  std::optional<std::string> notUnderstood(Edited& edited) const {
    edited.note(What::removed, kLinesGone);
    std::size_t before = m_at;
    while (before > 0 && m_lines[before - 1].text.empty())
      --before;
    const bool afterList = before > 0 && m_roles[before - 1].role == EventRole::listKeyword;
    const bool heads = holds(readPartOf(m_lines[m_at]), m_kind.keywords[kColumnsKeyword]);
    if (!afterList && !heads) return std::nullopt;
    return m_isMarkers ? "TRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)"
                       : m_kind.keywords[kColumnsKeyword];
  }

  const EventBlockKind& m_kind;
  const char* m_list;
  bool m_isMarkers;
  Anonymous& m_anonymous;
  std::vector<TextLine> m_lines;
  std::vector<EventLine> m_roles;
  std::size_t m_at = 0;
  std::size_t m_block = 0;
  std::string m_name;
};

std::optional<Edited> anonymousEvents(std::string_view bytes, const EventBlockKind& kind, const char* list,
                                      Anonymous& anonymous) {
  auto lines = linesOf(bytes);
  if (isUtf16(lines)) return std::nullopt;
  return AnonymousEvents(std::move(lines), kind, list, anonymous).run();
}

}  // namespace

std::optional<Edited> anonymousMarkers(std::string_view bytes, Anonymous& anonymous) {
  return anonymousEvents(bytes, kMarkerBlock, "markers", anonymous);
}

std::optional<Edited> anonymousClasses(std::string_view bytes, Anonymous& anonymous) {
  return anonymousEvents(bytes, kClassBlock, "classes", anonymous);
}

}  // namespace ctfmeg::edit
