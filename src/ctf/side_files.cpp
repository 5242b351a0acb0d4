#include "ctf/side_files.h"

#include <limits>
#include <string_view>
#include <utility>

#include "base/encoding.h"
#include "ctf/second_look.h"

namespace ctfmeg {
namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) return;
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
}

/// Of a list without a count: nothing else says that a line was cut.
constexpr const char* kLastNumber =
    "is the last line and has no line break: its last number may be cut, and is read as it is";

/// The two lists of a .pos file.
class DigitisedReader {
 public:
  DigitisedReader(TextLines& lines, const ReadingRules& rules,
                  std::function<void(const DigitisedPoint&)> keepPoint,
                  std::function<void(const DigitisedFiducial&)> keepFiducial)
      : m_lines(lines),
        m_rules(rules),
        m_keepPoint(std::move(keepPoint)),
        m_keepFiducial(std::move(keepFiducial)) {}

  bool readPoints() {
    std::string line;
    std::int32_t count = 0;
    if (!m_lines.next(line))
      return !m_lines.warned() && m_lines.passOver(Code::posShort, "ends before the number of points");
    bool counted = scan(line, "%d", {&count}, ScanPrecision::full, afterNumber(m_rules)) == 1;
    if (!counted && !m_lines.passOver(Code::posCount, "is not the number of points")) return false;
    // Under host rules the number of a point that is here is taken for the count.
    if (counted && parseDigitisedPoint(line, m_rules))
      counted = !m_lines.passOver(Code::posCount, "is a point where the number of points should be");
    if (!counted) {
      count = std::numeric_limits<std::int32_t>::max();
      m_lines.putBack();
    }
    for (std::int32_t i = 0; i < count; ++i) {
      if (!m_lines.next(line))
        return m_lines.passOver(Code::posShort, "is the last line, before all points were read");
      const auto point = parseDigitisedPoint(line, m_rules);
      if (point) {
        m_keepPoint(*point);
        continue;
      }
      if (!m_lines.passOver(Code::posPoint,
                            "is not the number and the position of a point, of which there are more"))
        return false;
      if (parseDigitisedFiducial(line, m_rules)) {
        m_lines.putBack();
        return true;
      }
    }
    return true;
  }

  bool readFiducials() {
    constexpr int kFiducials = 3;
    std::string line;
    for (int i = 0; i < kFiducials;) {
      if (!m_lines.next(line)) {
        m_lines.note(Code::posFiducials, "does not end with the labels and positions of three fiducials");
        return false;
      }
      const auto point = parseDigitisedPoint(line, m_rules);
      if (point &&
          m_lines.passOver(Code::posCount, "is a point beyond the number of points in the first line")) {
        m_keepPoint(*point);
        continue;
      }
      if (keepFiducial(line))
        ++i;
      else if (!m_lines.passOver(Code::posFiducial, kNoFiducial))
        return false;
    }
    if (m_rules.extrasKept)
      while (m_lines.next(line))
        if (!keepFiducial(line)) m_lines.passOver(Code::posFiducial, kNoFiducial);
    return true;
  }

 private:
  static constexpr const char* kNoFiducial = "is not the label and the position of a fiducial";

  bool keepFiducial(const std::string& line) {
    const auto fiducial = parseDigitisedFiducial(line, m_rules);
    if (fiducial && m_rules.extrasKept) m_keepFiducial(*fiducial);
    return fiducial.has_value();
  }

  TextLines& m_lines;
  const ReadingRules& m_rules;
  std::function<void(const DigitisedPoint&)> m_keepPoint;
  std::function<void(const DigitisedFiducial&)> m_keepFiducial;
};

/// What follows a keyword; nothing when the line does not hold it.
std::optional<std::string> after(std::string line, const char* keyword) {
  if (!holds(line, keyword)) return std::nullopt;
  replaceAll(line, keyword, "");
  return std::string(trimmed(line));
}

constexpr const char* kReference = "Ref:";

bool isComment(const std::string& line) { return trimmed(line).starts_with("//"); }

/// Definitions, from after the line that begins the first, or is a comment that holds the word.
std::vector<VirtualChannel> readDefinitions(TextLines& lines, const ReadingRules& rules, bool fromComment) {
  std::vector<VirtualChannel> channels(1);
  bool open = !fromComment;  // a definition has begun, and nothing says yet that it is whole
  bool braces = false;
  bool cut = false;
  std::string line;
  while (!cut && lines.next(line)) {
    if (holds(line, "}")) {
      open = false;
    } else if (lines.unended()) {
      cut = true;  // a name, unit or weight may go on
    } else if (holds(line, "{")) {
      open = braces = true;
    } else if (const auto name = after(line, "Name:")) {
      channels.back().name = *name;
    } else if (const auto unit = after(line, "Unit:")) {
      channels.back().unit = *unit;
    } else if (holds(line, kReference)) {
      if (const auto reference = parseVirtualReference(line, rules))
        channels.back().references.push_back(*reference);
      else
        lines.passOver(Code::virtualReference, "is not a channel and its weight");
    } else if (holds(line, "VirtualChannel")) {
      channels.emplace_back();
      open = true;
      braces = false;
    }
  }
  const auto isEmpty = [](const VirtualChannel& c) { return c.name.empty() && c.references.empty(); };
  if (cut)
    lines.passOver(Code::textCut, kLastLine);
  else if (open && (braces || isEmpty(channels.back())))
    lines.passOver(Code::virtualShort, "is the last line, inside a virtual channel");
  // A line may hold the word without beginning a definition.
  std::erase_if(channels, isEmpty);
  return channels;
}

}  // namespace

std::optional<Electrode> parseElectrode(const std::string& line, const ReadingRules& rules) {
  Electrode e;
  auto& [x, y, z] = e.positionCm;
  if (scan(line, "%d %s %f %f %f", {&e.number, &e.name, &x, &y, &z}, precisionOf(rules),
           afterNumber(rules)) != 5)
    return std::nullopt;
  return e;
}

std::optional<DigitisedPoint> parseDigitisedPoint(const std::string& line, const ReadingRules& rules) {
  DigitisedPoint p;
  auto& [x, y, z] = p.positionCm;
  if (scan(line, "%d %f %f %f", {&p.number, &x, &y, &z}, precisionOf(rules), afterNumber(rules)) != 4)
    return std::nullopt;
  return p;
}

std::optional<DigitisedFiducial> parseDigitisedFiducial(const std::string& line, const ReadingRules& rules) {
  DigitisedFiducial f;
  auto& [x, y, z] = f.positionCm;
  if (scan(line, "%s %f %f %f", {&f.label, &x, &y, &z}, precisionOf(rules), afterNumber(rules)) != 4)
    return std::nullopt;
  return f;
}

std::optional<BadSegment> parseBadSegment(const std::string& line, const ReadingRules& rules) {
  constexpr float kMillisecondsPerSecond = 1000.0F;
  const ScanPrecision precision = precisionOf(rules);
  std::int32_t trial = 0;
  double start = 0.0, end = 0.0;
  if (scan(line, "%d %f %f", {&trial, &start, &end}, precision, afterNumber(rules)) != 3) return std::nullopt;
  // Single precision is multiplied as such too.
  const auto toMs = [precision](double seconds) {
    return precision == ScanPrecision::full ? seconds * double{kMillisecondsPerSecond}
                                            : double{static_cast<float>(seconds) * kMillisecondsPerSecond};
  };
  return BadSegment{trial, toMs(start), toMs(end)};
}

std::optional<VirtualChannel::Reference> parseVirtualReference(const std::string& line,
                                                               const ReadingRules& rules) {
  auto text = after(line, kReference).value_or("");
  constexpr const char* kEnds = "),";
  const std::size_t start = text.find_first_not_of(kEnds);
  if (start == std::string::npos) return std::nullopt;
  const std::string channel = text.substr(start, text.find_first_of(kEnds, start) - start);
  replaceAll(text, channel + ",", "");
  VirtualChannel::Reference reference{std::string(trimmed(channel))};
  if (scan(text, "%f", {&reference.weight}, precisionOf(rules)) != 1) return std::nullopt;
  return reference;
}

bool readElectrodes(const File& file, const ReadingRules& given, Notices& told,
                    const std::function<void(const Electrode&)>& keep) {
  return readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices, LastLine::mayLackBreak);
    std::string line;
    bool any = false;
    while (lines.more() && lines.next(line)) {
      const auto electrode = parseElectrode(line, rules);
      any = any || electrode;
      if (!electrode)
        lines.passOver(Code::eegLine, "is not the number, name and position of an electrode");
      else if (keeping)
        keep(*electrode);
      if (electrode && lines.unended()) lines.passOver(Code::textCut, kLastNumber);
    }
    if (!any && !lines.warned()) lines.note(Code::eegNone, "holds no electrode");
    return true;
  });
}

bool readDigitised(const File& file, const ReadingRules& given, Notices& told,
                   const std::function<void(const DigitisedPoint&)>& keepPoint,
                   const std::function<void(const DigitisedFiducial&)>& keepFiducial) {
  return readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices);
    DigitisedReader reader(
        lines, rules, [&](const DigitisedPoint& point) { keeping ? keepPoint(point) : void(); },
        [&](const DigitisedFiducial& fiducial) { keeping ? keepFiducial(fiducial) : void(); });
    const bool whole = reader.readPoints() && reader.readFiducials();
    lines.finish();
    return whole;
  });
}

bool readBadChannels(const File& file, const ReadingRules& given, Notices& told,
                     const std::function<bool(const std::string& name, bool mayBeCut)>& mark) {
  return readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices, LastLine::mayLackBreak);
    std::string name;
    while (lines.more()) {
      if (!lines.next(name)) return false;
      if (keeping && !mark(name, lines.unended()))
        lines.passOver(Code::badChannel, "is no channel of the recording");
      else if (lines.unended())
        lines.passOver(Code::textCut,
                       "is the last line and has no line break: the name may be cut, and is read as it is",
                       Finding::Severity::remark);
    }
    return true;
  });
}

bool readBadSegments(const File& file, const ReadingRules& given, Notices& told,
                     const std::function<void(const BadSegment&)>& keep) {
  return readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices, LastLine::mayLackBreak);
    std::string line;
    while (lines.more()) {
      if (!lines.next(line)) return false;
      const auto segment = parseBadSegment(line, rules);
      if (!segment && !lines.passOver(Code::segmentLine, "is not a trial with start and end of a span"))
        return false;
      if (segment && keeping) keep(*segment);
      if (segment && lines.unended()) lines.passOver(Code::textCut, kLastNumber);
    }
    return true;
  });
}

std::vector<VirtualChannel> readVirtualChannels(const File& file, const ReadingRules& given, Notices& told) {
  std::vector<VirtualChannel> channels;
  readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices, LastLine::mayLackBreak);
    std::string line;
    bool begun = false, heading = false, other = false;
    while (!begun && lines.more() && lines.next(line)) {
      begun = holds(line, "VirtualChannel");
      heading = heading || isComment(line);
      other = other || !(isComment(line) || holds(line, "{") || holds(line, "}"));
    }
    auto found = begun ? readDefinitions(lines, rules, isComment(line)) : std::vector<VirtualChannel>{};
    if (!begun && !lines.warned() && (other || !heading))
      lines.note(Code::virtualNone, "holds no virtual channel");
    else if (!begun && lines.unended())
      lines.passOver(Code::textCut, kLastLine);
    if (keeping && rules.extrasKept) channels = std::move(found);
    return true;
  });
  return channels;
}

}  // namespace ctfmeg
