#include <algorithm>
#include <array>

#include "base/encoding.h"
#include "base/scan.h"
#include "ctf/event_files.h"
#include "ctf/information_file.h"
#include "edit/anonymous.h"
#include "edit/event_lines.h"
#include "edit/line_form.h"

namespace ctfmeg::edit {
namespace {

using What = Change::What;

constexpr const char* kLinesRemoved = "lines that are not understood";
constexpr const char* kRestRemoved = "text after what is understood";

/// A text file that is put together from lines that may stay.
class KeptLines {
 public:
  explicit KeptLines(std::string_view bytes) : m_lines(linesOf(bytes)) {}

  bool isNone() const { return isUtf16(m_lines); }
  const std::vector<TextLine>& lines() const { return m_lines; }

  void put(std::size_t line, const std::string& text) {
    m_kept.push_back({text, m_lines[line].end});
    if (text != m_lines[line].text) m_edited.note(What::removed, kRestRemoved);
  }
  void leaveOut(std::size_t line) {
    if (m_lines[line].text.empty())
      m_kept.push_back(m_lines[line]);
    else
      m_edited.note(What::removed, kLinesRemoved);
  }
  void note(What what, const char* field) { m_edited.note(what, field); }

  Edited take() {
    m_edited.bytes = textOf(m_kept);
    return std::move(m_edited);
  }

 private:
  std::vector<TextLine> m_lines, m_kept;
  Edited m_edited{{}};
};

/// Keeps each line of which `textOf` returns something.
template <class TextOfLine>
std::optional<Edited> keptLines(std::string_view bytes, TextOfLine textOfLine) {
  KeptLines file(bytes);
  if (file.isNone()) return std::nullopt;
  for (std::size_t i = 0; i < file.lines().size(); ++i) {
    const std::optional<std::string> text = textOfLine(file, file.lines()[i]);
    if (text)
      file.put(i, *text);
    else
      file.leaveOut(i);
  }
  return file.take();
}

std::optional<std::string> textOfForm(const TextLine& line, std::string_view form) {
  auto formed = formedLine(line, form);
  return formed ? std::optional(std::move(formed->text)) : std::nullopt;
}

bool isChannel(const Anonymous& anonymous, std::string_view name) {
  return std::binary_search(anonymous.channels.begin(), anonymous.channels.end(), utf8FromWindows1252(name));
}

// Head coils.

constexpr std::array kHeadCoilNames{"nasion", "left ear", "right ear", "inion", "Cz"};

struct CoilSet {
  const char *measured, *frame;
};
constexpr std::array<CoilSet, 3> kCoilSets{
    {{"standard", "dewar"}, {"measured", "dewar"}, {"measured", "head"}}};

std::string coilHeading(const CoilSet& set, const char* coil) {
  return std::string(set.measured) + " " + coil + " coil position relative to " + set.frame + " (cm):";
}

/// The heading of a coil that a line is; nothing where it is none, or more than one.
std::optional<std::string> headingIn(std::string_view line) {
  const bool standard = holds(line, "standard") || holds(line, "stadard");
  const auto* const set = std::find_if(kCoilSets.begin(), kCoilSets.end(), [&](const CoilSet& one) {
    return (standard ? one.measured == std::string_view("standard") : true) && holds(line, one.frame) &&
           (holds(line, one.measured) || (standard && one.measured == std::string_view("standard")));
  });
  if (set == kCoilSets.end()) return std::nullopt;
  std::optional<std::string> heading;
  for (const char* coil : kHeadCoilNames) {
    if (!holds(line, coil)) continue;
    if (heading) return std::nullopt;
    heading = coilHeading(*set, coil);
  }
  return heading;
}

/// "x = 5.65685", whatever blanks are around.
std::optional<std::string> coordinateIn(const TextLine& line, char axis) {
  const std::string name(1, axis);
  const auto formed = formedLine(line, "ssf");
  if (formed && formed->words[0] == name && formed->words[1] == "=") return formed->text;
  // A reader takes any word that ends in the axis.
  const std::string text(readPartOf(line));
  std::string label;
  double number = 0.0;
  const bool isRead = holds(text, (name + " =").c_str()) &&
                      scan(text, "%s = %f", {&label, &number}, ScanPrecision::full, AfterNumber::blank) == 2;
  return isRead ? std::optional("\t" + name + " = " + shortestText(number)) : std::nullopt;
}

// Virtual channels.

std::string_view afterKeyword(std::string_view line, std::string_view keyword) {
  return trimmed(line.substr(line.find(keyword) + keyword.size()));
}

/// Such as "T", "fT/cm" or "1".
bool isUnit(std::string_view text) {
  constexpr std::size_t kLongest = 5;
  return text.size() <= kLongest &&
         text.find_first_not_of("TVAsmpnuf\xB5kcM1%/*^-2Hz") == std::string_view::npos;
}

class AnonymousVirtualChannels {
 public:
  explicit AnonymousVirtualChannels(Anonymous& anonymous) : m_anonymous(anonymous) {}

  std::optional<std::string> operator()(KeptLines& file, const TextLine& line) {
    const std::string text(readPartOf(line));
    if (!m_begun) {
      m_begun = holds(text, "VirtualChannel");
      return m_begun ? std::optional(only("VirtualChannel", text)) : std::nullopt;
    }
    if (holds(text, "}")) return only("}", text);
    if (line.end.empty()) return std::nullopt;  // it may be cut, and is not read
    if (holds(text, "{")) return only("{", text);
    if (holds(text, "Name:")) return name(text);
    if (holds(text, "Unit:")) {
      if (trimmed(text).starts_with("Unit:") && isUnit(afterKeyword(text, "Unit:"))) return text;
      m_anonymous.removed.add(afterKeyword(text, "Unit:"));
      file.note(What::removed, "Unit");
      return std::nullopt;
    }
    if (holds(text, "Ref:")) return reference(text);
    return holds(text, "VirtualChannel") ? std::optional(only("VirtualChannel", text)) : std::nullopt;
  }

 private:
  /// The line as it is where it has only that word, else the word.
  static std::string only(const std::string& word, const std::string& line) {
    return trimmed(line) == word ? line : word;
  }

  std::string name(const std::string& text) {
    const std::string_view line = trimmed(text);
    const std::string_view named = line.starts_with("Name:") ? afterKeyword(line, "Name:") : line;
    m_anonymous.keep({"virtual channels", ++m_number, std::string(named)});
    return text;
  }

  std::optional<std::string> reference(const std::string& text) {
    const std::string_view value = afterKeyword(text, "Ref:");
    const std::size_t comma = value.find(',');
    if (!trimmed(text).starts_with("Ref:") || comma == 0 || comma == std::string_view::npos)
      return std::nullopt;
    const std::string channel(value.substr(0, comma));
    const auto weight = formedLine({std::string(value.substr(comma + 1)), ""}, "f");
    if (!weight) return std::nullopt;
    if (!isChannel(m_anonymous, channel)) m_anonymous.keep({"virtual channels", m_number, channel});
    return weight->cut ? "\tRef:\t" + channel + "," + weight->words[0] : text;
  }

  Anonymous& m_anonymous;
  bool m_begun = false;
  std::size_t m_number = 0;
};

}  // namespace

std::optional<Edited> anonymousHeadCoils(std::string_view bytes, Anonymous& /*anonymous*/) {
  constexpr std::string_view kAxes = "xyz";
  KeptLines file(bytes);
  if (file.isNone()) return std::nullopt;
  const auto& lines = file.lines();
  for (std::size_t i = 0; i < lines.size();) {
    const auto heading = headingIn(readPartOf(lines[i]));
    std::vector<std::pair<std::size_t, std::string>> coordinates;
    for (std::size_t at = i + 1; heading && at < lines.size() && coordinates.size() < kAxes.size(); ++at) {
      if (lines[at].text.empty()) continue;
      const auto text = coordinateIn(lines[at], kAxes[coordinates.size()]);
      if (!text || lines[at].end.empty()) break;
      coordinates.emplace_back(at, *text);
    }
    if (coordinates.size() < kAxes.size()) {
      file.leaveOut(i++);
      continue;
    }
    const std::string words(trimmed(lines[i].text));
    std::string asWritten = *heading;
    if (holds(words, "stadard")) asWritten.replace(0, 8, "stadard");
    file.put(i, words == asWritten ? lines[i].text : *heading);
    for (const auto& [at, text] : coordinates) {
      for (++i; i < at; ++i)
        file.leaveOut(i);
      file.put(at, text);
    }
    ++i;
  }
  return file.take();
}

std::optional<Edited> anonymousElectrodes(std::string_view bytes, Anonymous& anonymous) {
  std::size_t number = 0;
  return keptLines(bytes, [&](KeptLines& file, const TextLine& line) -> std::optional<std::string> {
    const auto formed = formedLine(line, "dsfff");
    if (!formed) return std::nullopt;
    anonymous.keep({"electrodes", ++number, formed->words[1]});
    file.note(What::kept, "names of electrodes");
    return formed->text;
  });
}

std::optional<Edited> anonymousPositions(std::string_view bytes, Anonymous& anonymous) {
  bool first = true;
  std::size_t number = 0;
  return keptLines(bytes, [&](KeptLines& file, const TextLine& line) -> std::optional<std::string> {
    if (line.text.empty() || line.end.empty()) return std::nullopt;
    const bool isFirst = std::exchange(first, false);
    if (auto point = textOfForm(line, "dfff")) return point;
    if (isFirst) return textOfForm(line, "d");
    const auto formed = formedLine(line, "sfff");
    if (!formed) return std::nullopt;
    anonymous.keep({"labels", ++number, formed->words[0]});
    file.note(What::kept, "labels of fiducials");
    return formed->text;
  });
}

std::optional<Edited> anonymousBadChannels(std::string_view bytes, Anonymous& anonymous) {
  return keptLines(bytes, [&](KeptLines&, const TextLine& line) -> std::optional<std::string> {
    std::string name(readPartOf(line));
    return isChannel(anonymous, name) ? std::optional(std::move(name)) : std::nullopt;
  });
}

std::optional<Edited> anonymousBadSegments(std::string_view bytes, Anonymous& /*anonymous*/) {
  return keptLines(bytes, [](KeptLines&, const TextLine& line) { return textOfForm(line, "dff"); });
}

std::optional<Edited> anonymousVirtualChannels(std::string_view bytes, Anonymous& anonymous) {
  return keptLines(bytes, AnonymousVirtualChannels(anonymous));
}

void Anonymous::keep(KeptName kept) {
  kept.file = file;
  names.push_back(std::move(kept));
}

void Anonymous::removeName(std::string_view ofPerson) {
  removed.addName(ofPerson);
  persons.addName(ofPerson);
}

void Anonymous::warn(Code code, const std::string& text) {
  warnings.push_back(
      {.severity = Finding::Severity::warning, .code = wordOf(code), .file = file, .text = text});
}

std::string anonymousVocabulary() {
  std::string words =
      std::string(kPathKeyword) +
      "\nTRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)\nYes No\nVirtualChannel Name: "
      "Unit: Ref:\nstadard\nNa Le Re In Cz\nWS1_ EndOfParameters MEG42RS MEG41RS\n"
      "MarkerFile.mrk ClassFile.cls BadChannels bad.segments VirtualChannels res4 meg4 infods\n";
  for (const EventBlockKind* kind : {&kMarkerBlock, &kClassBlock}) {
    words.append(kind->total).append("\n");
    for (const char* keyword : kind->keywords)
      words.append(keyword).append("\n");
  }
  for (const CoilSet& set : kCoilSets)
    for (const char* coil : kHeadCoilNames)
      words.append(coilHeading(set, coil)).append("\n");
  for (const InfoTag& tag : infoTags())
    words.append(tag.name).append("\n");
  for (const char* color : {"black", "silver", "gray", "white", "maroon", "purple", "fuchsia", "green",
                            "lime", "olive", "yellow", "navy", "blue", "teal", "aqua", "red"})
    words.append(color).append("\n");
  return words;
}

}  // namespace ctfmeg::edit
