#include <algorithm>
#include <map>
#include <span>

#include "base/scan.h"
#include "ctf/side_files.h"
#include "ctf/text.h"
#include "edit/cropping.h"
#include "edit/event_lines.h"
#include "edit/line_words.h"

namespace ctfmeg::edit {
namespace {

using What = Change::What;

/// Lines of which some go.
class Sieve {
 public:
  explicit Sieve(std::vector<TextLine> lines) : m_lines(std::move(lines)), m_goes(m_lines.size()) {}

  std::vector<TextLine>& lines() { return m_lines; }
  void remove(std::size_t line) { m_goes[line] = true; }

  std::string text() const {
    std::vector<TextLine> left;
    for (std::size_t i = 0; i < m_lines.size(); ++i)
      if (!m_goes[i]) left.push_back(m_lines[i]);
    return textOf(left);
  }

 private:
  std::vector<TextLine> m_lines;
  std::vector<bool> m_goes;
};

/// Puts another trial's number into a line that begins with one.
void putTrial(std::string& line, std::int32_t before, int now) {
  const std::string word(wordAt(line, 0).value_or(""));
  if (word == numberLike(word, before)) return replaceWord(line, 0, numberLike(word, now));
  // Written otherwise, such as with zeros before it.
  std::string digits = word;
  std::erase(digits, '+');
  std::int32_t read = 0;
  const bool isOneWord = scan(digits, "%d", {&read}, ScanPrecision::full) == 1 && read == before;
  if (isOneWord)
    replaceWord(line, 0, numberLike(word, now));
  else
    line = numberLike(word, now);
}

/// Puts the time of an occurrence's own sample into a line whose time, half a sample from it, would be read
/// as another one of the copy. Returns whether that was so.
bool keepSample(TextLine& line, std::int64_t sample, const KeptPart& kept) {
  const double rate = kept.record().sampleRate;
  const std::int64_t preTrigger = kept.record().preTrigSamples;
  const TrialTiming timing{rate, preTrigger - kept.first()};
  const auto read = parseMarkerSample(std::string(readPartOf(line)), 1.0, timing, ReadingRules::plain());
  if (kept.hasWholeTrials() || !read || read->sample == sample - kept.first()) return false;
  const double seconds = static_cast<double>(sample - preTrigger) / rate;
  replaceWord(line.text, 1, secondsLike(wordAt(line.text, 1).value_or(""), seconds));
  return true;
}

}  // namespace

Edited cropEvents(std::string_view bytes, const EventBlockKind& kind, const KeptPart& kept) {
  const bool areMarkers = kind.countCode == Code::markerCount;
  const TrialTiming timing{kept.record().sampleRate, kept.record().preTrigSamples};
  Sieve sieve(linesOf(bytes));
  const auto events = eventLinesOf(sieve.lines(), kind, timing);
  struct Counts {
    std::int64_t left = 0, gone = 0;
  };
  std::map<int, Counts> counts;  // by block
  Edited cropped;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const EventLine& event = events[i];
    const bool counted = event.role == EventRole::occurrence;
    if (event.role == EventRole::passedOver) ++counts[event.block].left;
    if (!counted && event.role != EventRole::surplus) continue;
    const auto trial = kept.trialOf(event.sample.trial);
    const bool stays = trial && (!areMarkers || kept.hasSample(event.sample.sample));
    if (counted) ++(stays ? counts[event.block].left : counts[event.block].gone);
    if (!stays) {
      sieve.remove(i);
      cropped.note(What::removed, fieldOf(kind, kListKeyword));
      continue;
    }
    if (areMarkers && keepSample(sieve.lines()[i], event.sample.sample, kept))
      cropped.note(What::replaced, kTimesField);
    if (*trial != event.sample.trial) {
      putTrial(sieve.lines()[i].text, event.sample.trial, *trial);
      cropped.note(What::replaced, fieldOf(kind, kColumnsKeyword));
    }
  }
  for (std::size_t i = 0; i < events.size(); ++i) {
    const Counts& count = counts[events[i].block];
    if (events[i].role != EventRole::count || count.gone == 0) continue;
    std::string& line = sieve.lines()[i].text;
    replaceWord(line, 0, numberLike(wordAt(line, 0).value_or(""), count.left));
    cropped.note(What::replaced, fieldOf(kind, kCountKeyword));
  }
  cropped.bytes = sieve.text();
  return cropped;
}

Edited cropBadSegments(std::string_view bytes, const KeptPart& kept) {
  // A time that is meant to be a sample's may miss it by the last digits that the file gives.
  constexpr double kRounding = 1e-3;
  const double rate = kept.record().sampleRate;
  const auto first = static_cast<double>(kept.first()), samples = static_cast<double>(kept.samples());
  Sieve sieve(linesOf(bytes));
  Edited cropped;
  for (std::size_t i = 0; i < sieve.lines().size() && !isUtf16(sieve.lines()); ++i) {
    std::string& line = sieve.lines()[i].text;
    std::int32_t number = 0;
    double start = 0.0, end = 0.0;
    if (scan(readPartOf(sieve.lines()[i]), "%d %f %f", {&number, &start, &end}, ScanPrecision::full,
             AfterNumber::blank) != 3)
      continue;
    const auto trial = kept.trialOf(number);
    const bool touches = kept.hasWholeTrials() || (end * rate >= first - kRounding &&
                                                   start * rate <= first + samples - 1.0 + kRounding);
    if (!trial || !touches) {
      sieve.remove(i);
      cropped.note(What::removed, "segments");
      continue;
    }
    const std::string before = line;
    if (*trial != number) putTrial(line, number, *trial);
    if (!kept.hasWholeTrials()) {
      const double cutStart = std::max(start - first / rate, 0.0);
      const double cutEnd = std::clamp(end - first / rate, 0.0, samples / rate);
      const std::pair<double, double> times[] = {{start, cutStart}, {end, cutEnd}};
      for (int word = 1; const auto& [was, is] : times) {
        if (is != was) replaceWord(line, word, secondsLike(wordAt(line, word).value_or(""), is));
        ++word;
      }
    }
    if (line != before) cropped.note(What::replaced, "segments");
  }
  cropped.bytes = sieve.text();
  return cropped;
}

Edited cropBadChannels(std::string_view bytes, const KeptPart& kept) {
  Sieve sieve(linesOf(bytes));
  Edited cropped;
  for (std::size_t i = 0; i < sieve.lines().size() && !isUtf16(sieve.lines()); ++i) {
    const TextLine& line = sieve.lines()[i];
    if (line.text.empty() || !kept.isGone(decodeText(readPartOf(line), ReadingRules::plain()))) continue;
    sieve.remove(i);
    cropped.note(What::removed, "channels");
  }
  cropped.bytes = sieve.text();
  return cropped;
}

std::optional<Edited> cropVirtualChannels(std::string_view bytes, const KeptPart& kept) {
  struct Definition {
    std::size_t first = 0, last = 0;  // lines
    bool isGone = false;
    bool isEmpty = true;
  };
  Sieve sieve(linesOf(bytes));
  std::vector<Definition> definitions;
  for (std::size_t i = 0; i < sieve.lines().size() && !isUtf16(sieve.lines()); ++i) {
    const std::string line = decodeText(readPartOf(sieve.lines()[i]), ReadingRules::plain());
    const auto holdsOne = [&](std::span<const char* const> words) {
      return std::any_of(words.begin(), words.end(), [&](const char* word) { return holds(line, word); });
    };
    constexpr const char *kBraces[] = {"{", "}"}, *kFields[] = {"Name:", "Unit:", "Ref:"};
    if (!definitions.empty() && (holdsOne(kBraces) || holdsOne(kFields))) {
      Definition& here = definitions.back();
      here.last = i;
      here.isEmpty = here.isEmpty && !holdsOne(kFields);
      const auto reference = parseVirtualReference(line, ReadingRules::plain());
      if (reference && kept.isGone(reference->channel)) here.isGone = true;
    } else if (holds(line, "VirtualChannel")) {
      definitions.push_back({i, i});
    }
  }
  Edited cropped;
  bool left = false;
  for (const Definition& definition : definitions) {
    left = left || !(definition.isGone || definition.isEmpty);
    if (!definition.isGone) continue;
    for (std::size_t i = definition.first; i <= definition.last; ++i)
      sieve.remove(i);
    cropped.note(What::removed, "channels");
  }
  if (!left && !cropped.changes.empty()) return std::nullopt;
  cropped.bytes = sieve.text();
  return cropped;
}

}  // namespace ctfmeg::edit
