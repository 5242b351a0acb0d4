#include "ctf/event_files.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <string_view>

#include "base/encoding.h"
#include "ctf/second_look.h"

namespace ctfmeg {
namespace {

constexpr double kMsPerSecond = 1000.0;

enum class Found { here, missing, endOfFile };

bool readNumber(const TextLines& lines, const EventBlockKind& kind, std::string text, bool plusSignsRemoved,
                std::int32_t& number) {
  if (plusSignsRemoved) std::erase(text, '+');
  return scan(text, "%d", {&number}, ScanPrecision::full, afterNumber(lines.rules())) == 1 ||
         lines.passOver(kind.numberCode, "is not a number");
}

/// Reads the next line between blocks, past the dataset's path and the number of blocks. `missing` when that
/// is no number and the file is to be given up.
Found readBetweenBlocks(TextLines& lines, const EventBlockKind& kind, std::string& line,
                        std::optional<std::int32_t>& total) {
  if (!lines.next(line)) return Found::endOfFile;
  if (holds(line, kPathKeyword) && !lines.nextValue(line)) return Found::endOfFile;
  if (!holds(line, kind.total)) return Found::here;
  if (!lines.nextValue(line)) return Found::endOfFile;
  return readNumber(lines, kind, line, false, total.emplace()) ? Found::here : Found::missing;
}

/// Reads up to the line that holds a keyword of the block.
Found seekKeyword(TextLines& lines, const EventBlockKind& kind, EventKeyword keyword) {
  // Without these a block says less than it should.
  const bool essential = keyword == kNameKeyword || keyword == kCountKeyword;
  bool reported = false;
  std::string line;
  while (lines.next(line)) {
    const auto inLine = [&line](const char* word) { return holds(line, word); };
    const auto* wanted = kind.keywords.begin() + keyword;
    if (inLine(*wanted)) return Found::here;
    const bool later = std::any_of(wanted + 1, kind.keywords.end(), inLine);
    const bool lost = later && essential;
    if ((!reported || lost) && !lines.passOver(kind.keywordCode, "is not the keyword that is expected here",
                                               lost ? Finding::Severity::warning : Finding::Severity::remark))
      return Found::missing;
    reported = true;
    if (later) {
      lines.putBack();
      return Found::missing;
    }
  }
  return Found::endOfFile;
}

/// Reads a keyword and the value in the line after it.
Found readValue(TextLines& lines, const EventBlockKind& kind, EventKeyword keyword, std::string& value) {
  const Found found = seekKeyword(lines, kind, keyword);
  if (found != Found::here) return found;
  return lines.nextValue(value) ? Found::here : Found::endOfFile;
}

/// The end of the file inside a block: a reason to abandon it under host rules only.
bool endInsideBlock(const TextLines& lines, const EventBlockKind& kind) {
  return lines.passOver(kind.shortCode, "is the last line, inside a marker or class");
}

/// As `endInsideBlock`; a block whose name was not reached is abandoned by either rules.
bool endInsideHeading(const TextLines& lines, const EventBlockKind& kind, const EventGroup& group) {
  return endInsideBlock(lines, kind) && !group.name.empty();
}

/// Reports what is wrong with the file as a whole, at its end.
void reportTotal(TextLines& lines, const EventBlockKind& kind, std::optional<std::int32_t> said,
                 std::int32_t kept) {
  if (!said && kept == 0) {
    if (!lines.warned()) lines.note(kind.noneCode, kind.none);
  } else if (said.value_or(0) != kept) {
    lines.note(kind.countCode, kind.miscounted);
  }
  lines.finish();
}

/// Whether the line that was read last begins the next block; it is then put back.
bool isNextBlock(TextLines& lines, const EventBlockKind& kind, const std::string& line) {
  const bool next = holds(line, kind.keywords[kNextBlockKeyword]);
  if (next) lines.putBack();
  return next;
}

/// Reads from after the line that begins a block up to the number of list entries. False when the block is to
/// be abandoned: under host rules at a number that does not scan, or at the end of the file.
bool readHeading(TextLines& lines, const EventBlockKind& kind, const ReadingRules& rules, EventGroup& group,
                 std::int32_t& count) {
  std::string value;
  if (!lines.nextValue(value)) return endInsideHeading(lines, kind, group);
  if (!readNumber(lines, kind, value, kind.plusSignsRemoved, group.classGroupId)) return false;

  const auto text = [&](EventKeyword keyword, auto store) {
    const Found found = readValue(lines, kind, keyword, value);
    if (found == Found::here) store();
    return found != Found::endOfFile || endInsideHeading(lines, kind, group);
  };
  const auto number = [&](EventKeyword keyword, bool plusSignsRemoved, std::int32_t& target) {
    const Found found = readValue(lines, kind, keyword, value);
    if (found == Found::endOfFile) return endInsideHeading(lines, kind, group);
    return found == Found::missing || readNumber(lines, kind, value, plusSignsRemoved, target);
  };
  return text(kNameKeyword, [&] { group.name = value; }) &&
         text(kCommentKeyword, [&] { group.comment = value; }) &&
         text(kColorKeyword, [&] { group.color = colorOf(value, rules); }) &&
         text(kEditableKeyword, [&] { group.editable = holds(value, "Yes"); }) &&
         number(kClassIdKeyword, kind.plusSignsRemoved, group.classId) && number(kCountKeyword, false, count);
}

// Markers.

bool keepSample(ReadMarker& read, const MarkerSample& sample, const TextLines& lines) {
  try {
    read.marker.samples.push_back(sample);
    return true;
  } catch (const std::bad_alloc&) {
    lines.note(Code::memory, "needs more memory than there is");
    read.memoryLacked = true;
    return false;
  }
}

bool readMarkerList(TextLines& lines, std::int64_t count, const TrialTiming& timing,
                    const ReadingRules& rules, ReadMarker& read) {
  std::string line;
  if (seekKeyword(lines, kMarkerBlock, kListKeyword) == Found::endOfFile || !lines.next(line))
    return endInsideBlock(lines, kMarkerBlock);
  const auto msPerUnit = msPerUnitOf(line);
  if (!msPerUnit) {
    if (!lines.passOver(Code::markerHeader, "does not head a list of trial numbers and times")) return false;
    if (isNextBlock(lines, kMarkerBlock, line)) return true;
    if (parseMarkerSample(line, kMsPerSecond, timing, rules)) lines.putBack();
  }
  for (std::int64_t i = 0; i < count; ++i) {
    if (!lines.next(line)) return endInsideBlock(lines, kMarkerBlock);
    const auto sample = parseMarkerSample(line, msPerUnit.value_or(kMsPerSecond), timing, rules);
    if (sample && !keepSample(read, *sample, lines)) return true;
    if (sample) continue;
    if (!lines.passOver(Code::markerSample,
                        "is not a trial's number and a time, of which the marker has more"))
      return false;
    if (isNextBlock(lines, kMarkerBlock, line)) return true;
  }
  return true;
}

/// A marker from after the line that holds "CLASSGROUPID"; nothing when it is to be abandoned, and the file
/// with it.
std::optional<ReadMarker> readMarker(TextLines& lines, const TrialTiming& timing, const ReadingRules& rules) {
  // Hosts expect every marker in this class group, whatever the file says.
  constexpr std::int32_t kHostGroup = 100;
  ReadMarker read;
  std::int32_t count = 0;
  if (!readHeading(lines, kMarkerBlock, rules, read.marker, count)) return std::nullopt;
  if (!rules.groupKept) read.marker.classGroupId = kHostGroup;
  read.marker.numSamples = count;
  if (!readMarkerList(lines, count, timing, rules, read)) return std::nullopt;
  return read;
}

// Classes.

bool readTrialList(TextLines& lines, std::int64_t count, TrialClass& trialClass) {
  std::string line;
  const Found found = seekKeyword(lines, kClassBlock, kListKeyword);
  if (found == Found::endOfFile) return endInsideBlock(lines, kClassBlock);
  if (found == Found::missing && !lines.passOver(Code::classHeader, "does not begin a list of trials"))
    return false;
  if (!lines.next(line)) return endInsideBlock(lines, kClassBlock);
  if (!holds(line, kClassBlock.keywords[kColumnsKeyword]) &&
      lines.passOver(Code::classHeader, "does not head a list of trial numbers") &&
      isNextBlock(lines, kClassBlock, line))
    return true;
  for (std::int64_t i = 0; i < count; ++i) {
    if (!lines.next(line)) return endInsideBlock(lines, kClassBlock);
    if (const auto trial = parseClassTrial(line, lines.rules())) {
      ++trialClass.numTrials;
      if (trialClass.trials) trialClass.trials->push_back(*trial);
      continue;
    }
    if (!lines.passOver(Code::classTrial, "is not a trial's number, of which the class has more"))
      return false;
    if (isNextBlock(lines, kClassBlock, line)) return true;
  }
  return true;
}

/// A class from after the line that holds "CLASSGROUPID:", as `readMarker`.
std::optional<TrialClass> readClass(TextLines& lines, const ReadingRules& rules) {
  TrialClass trialClass;
  if (rules.trialsKept) trialClass.trials.emplace();
  std::int32_t count = 0;
  if (!readHeading(lines, kClassBlock, rules, trialClass, count)) return std::nullopt;
  if (!readTrialList(lines, count, trialClass)) return std::nullopt;
  return trialClass;
}

// Colours.

struct NamedColor {
  std::string_view name;
  std::uint32_t rgb;  // 0xRRGGBB
};

constexpr NamedColor kHtmlColors[] = {
    {"black", 0x000000},  {"silver", 0xC0C0C0}, {"gray", 0x808080},   {"white", 0xFFFFFF},
    {"maroon", 0x800000}, {"red", 0xFF0000},    {"purple", 0x800080}, {"fuchsia", 0xFF00FF},
    {"green", 0x008000},  {"lime", 0x00FF00},   {"olive", 0x808000},  {"yellow", 0xFFFF00},
    {"navy", 0x000080},   {"blue", 0x0000FF},   {"teal", 0x008080},   {"aqua", 0x00FFFF},
};

// The first of these that is anywhere in the text counts; hosts know no others.
constexpr NamedColor kHostColors[] = {{"green", 0x00FF00}, {"red", 0xFF0000}, {"blue", 0x0000FF}};

std::optional<std::uint32_t> hexColor(std::string_view text) {
  if (text.size() != 7 || text[0] != '#') return std::nullopt;
  std::uint32_t rgb = 0;
  for (const char digit : text.substr(1)) {
    const std::size_t value = std::string_view("0123456789abcdef").find(digit);
    if (value == std::string_view::npos) return std::nullopt;
    rgb = rgb * 16 + static_cast<std::uint32_t>(value);
  }
  return rgb;
}

std::optional<std::uint32_t> htmlColor(const std::string& given) {
  const std::string text = lowered(std::string(trimmed(given)));
  for (const NamedColor& color : kHtmlColors)
    if (text == color.name) return color.rgb;
  return hexColor(text);
}

std::optional<std::uint32_t> hostColor(const std::string& text) {
  for (const NamedColor& color : kHostColors)
    if (text.find(color.name) != std::string::npos) return color.rgb;
  return std::nullopt;
}

}  // namespace

std::int64_t TrialTiming::sampleAt(double seconds, const ReadingRules& rules) const {
  const double exact = seconds * sampleRate + static_cast<double>(preTrigSamples);
  const double whole = rules.nearestSample ? std::round(exact) : std::trunc(exact);
  constexpr double kBeyond = 0x1p63;
  if (!(whole >= -kBeyond && whole < kBeyond)) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(whole);
}

std::optional<std::uint32_t> colorOf(const std::string& text, const ReadingRules& rules) {
  return rules.colourWords ? htmlColor(text) : hostColor(text);
}

std::optional<double> msPerUnitOf(const std::string& heading) {
  if (!holds(heading, "TRIAL NUMBER") || !holds(heading, "TIME FROM SYNC POINT")) return std::nullopt;
  return holds(heading, "in seconds") ? kMsPerSecond : 1.0;
}

std::optional<MarkerSample> parseMarkerSample(const std::string& line, double msPerUnit,
                                              const TrialTiming& timing, const ReadingRules& rules) {
  MarkerSample sample;
  double time = 0.0;
  if (scan(line, "%d  %f", {&sample.trial, &time}, precisionOf(rules), afterNumber(rules)) != 2)
    return std::nullopt;
  sample.timeMs = time * msPerUnit;
  // Whatever the unit, the time is taken for seconds here.
  sample.sample = timing.sampleAt(time, rules);
  return sample;
}

std::optional<std::int32_t> parseClassTrial(std::string line, const ReadingRules& rules) {
  std::erase(line, '+');
  std::int32_t trial = 0;
  if (scan(line, "%d", {&trial}, ScanPrecision::full, afterNumber(rules)) != 1) return std::nullopt;
  return trial;
}

void readMarkers(const File& file, const TrialTiming& timing, const ReadingRules& given, Notices& told,
                 const KeepMarker& keep) {
  readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices);
    std::optional<std::int32_t> count;  // blocks are read to the end of the file, not counted down
    std::int32_t kept = 0;
    bool surplusReported = false;
    std::string line;
    while (readBetweenBlocks(lines, kMarkerBlock, line, count) == Found::here) {
      if (holds(line, kMarkerBlock.keywords[kNextBlockKeyword])) {
        auto read = readMarker(lines, timing, rules);
        if (!read || (keeping && !keep(std::move(*read)))) return true;
        ++kept;
        surplusReported = false;
      } else if (!surplusReported && parseMarkerSample(line, 1.0, timing, rules)) {
        lines.passOver(Code::markerCount, "goes beyond the number of samples that the marker says it has");
        surplusReported = true;
      }
    }
    reportTotal(lines, kMarkerBlock, count, kept);
    return true;
  });
}

bool readClasses(const File& file, const ReadingRules& given, Notices& told, const KeepClass& keep) {
  return readAndLook(given, told, [&](const ReadingRules& rules, Notices& notices, bool keeping) {
    TextLines lines(file, rules, notices);
    bool surplusReported = true;  // there is no class yet
    std::optional<std::int32_t> count;
    std::int32_t kept = 0;
    std::string line;
    while (lines.more()) {
      const Found found = readBetweenBlocks(lines, kClassBlock, line, count);
      if (found == Found::endOfFile) reportTotal(lines, kClassBlock, count, kept);
      if (found != Found::here) return false;
      if (!holds(line, kClassBlock.keywords[kNextBlockKeyword])) {
        if (!surplusReported && parseClassTrial(line, lines.rules())) {
          lines.passOver(Code::classCount, "goes beyond the number of trials that the class says it has");
          surplusReported = true;
        }
        continue;
      }
      auto trialClass = readClass(lines, rules);
      if (!trialClass || (keeping && !keep(std::move(*trialClass)))) return false;
      ++kept;
      surplusReported = false;
    }
    return true;
  });
}

}  // namespace ctfmeg
