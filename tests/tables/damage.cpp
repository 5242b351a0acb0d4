#include <functional>
#include <set>

#include "recording/collected.h"
#include "recording/dataset.h"
#include "support/test_store.h"
#include "tables/case_run.h"

// A side file harmed in every way: what is read of it then, and what is reported.

namespace {

/// Every value of the side files, with its place, as a line.
std::set<std::string> valuesOf(const ctfmeg::Dataset& d) {
  std::set<std::string> all;
  const auto add = [&all](const auto&... parts) {
    std::ostringstream text;
    ((text << parts << ' '), ...);
    all.insert(text.str());
  };
  const auto group = [&add](const ctfmeg::EventGroup& g) {
    for (const auto& value : {g.comment, std::to_string(g.color.value_or(0)), std::to_string(g.classId)})
      if (!value.empty() && value != "0") add(g.name, "is", value);
    add(g.name);
  };
  for (const auto& m : d.markers) {
    group(m);
    for (const auto& s : m.samples)
      add(m.name, s.trial, s.timeMs, s.sample);
  }
  for (const auto& c : d.classes) {
    group(c);
    for (const auto trial : c.trials.value_or(std::vector<std::int32_t>()))
      add(c.name, trial);
  }
  for (const auto& [set, member] : ctfmeg::kFiducialSetNames)
    for (const auto& [name, point] : ctfmeg::kFiducialNames)
      if (const auto& read = d.fiducials.*member; read && (*read).*point) {
        const auto [x, y, z] = *((*read).*point);
        add(set, name, x, y, z);
      }
  for (const auto& [number, name, p] : d.electrodes)
    add(number, name, p[0], p[1], p[2]);
  for (const auto& [number, p] : d.digitised.points)
    add(number, p[0], p[1], p[2]);
  for (const auto& [label, p] : d.digitised.fiducials)
    add(label, p[0], p[1], p[2]);
  for (const auto& [trial, start, end] : d.badSegments)
    add(trial, start, end);
  for (const auto& name : d.badChannels)
    add(name);
  for (const auto& v : d.virtualChannels) {
    add(v.name);
    if (!v.unit.empty()) add(v.name, v.unit);
    for (const auto& [channel, weight] : v.references)
      add(v.name, channel, weight);
  }
  for (const auto& [tag, value] : d.information.entries)
    std::visit([&](const auto& v) { add(tag, v); }, value);
  return all;
}

struct Reading {
  std::set<std::string> values;
  std::set<std::string> findings;  ///< severities and codes
};

Reading readingOf(const std::string& name, const std::string& content, const ReadingRules& rules,
                  const std::function<void()>& opening = {}) {
  TestStore store(2, 10, {2});
  store.files["run.res4"] = {MinimalDataset().res4.str(), MinimalDataset().res4.size()};
  store.files[name] = {content, content.size()};
  store.hook = [&](const ctfmeg::File& file, std::size_t bytes) {
    if (opening && file.path().ends_with(name)) opening();
    return bytes;
  };
  ctfmeg::CollectedFindings notices;
  ctfmeg::Dataset dataset;
  readDataset(store, "run", rules, notices, dataset);
  Reading reading{valuesOf(dataset), {}};
  for (const auto& finding : notices.all())
    reading.findings.insert(std::string(nameOf(finding.severity)) + " " + finding.code);
  return reading;
}

std::string utf16(const std::string& text, bool bigEndian) {
  std::string wide;
  for (const char c : text)
    wide += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
  return wide;
}

}  // namespace

std::string damageTo(const std::string& name, const std::string& whole, const ReadingRules& rules) {
  std::string garbage, text;
  for (int i = 0; i < 1000; ++i)
    garbage += static_cast<char>(1 + i * i * 7 % 255);
  const auto add = [&text](const std::string& harm, const Reading& reading) {
    text += harm + ": " + std::to_string(reading.values.size()) + " read";
    for (const std::string& finding : reading.findings)
      text += ", " + finding;
    text += "\n";
  };
  const Reading sound = readingOf(name, whole, rules);
  add("whole", sound);
  for (const auto& [harm, content] : std::vector<std::pair<std::string, std::string>>{
           {"empty", ""},
           {"blank lines", "\n\r\n \n"},
           {"UTF-16 with a mark", "\xFF\xFE" + utf16(whole, false)},
           {"UTF-16 without", utf16(whole, true)},
           {"garbage", garbage},
           {"zero bytes", std::string(1000, '\0')},
           {"another file", "{\n\tsystemType:\tcmeg\n}\n"}})
    add(harm, readingOf(name, content, rules));
  add("unreadable", readingOf(name, whole, rules, [&] {
        throw ctfmeg::FileError(ctfmeg::FileError::Cause::accessDenied, -1, name);
      }));
  int inLine = 0, afterLine = 0;
  std::string silentInLine, silentAfterLine, others, silentOthers;
  for (std::size_t length = 1; length < whole.size(); ++length) {
    const std::string cut = whole.substr(0, length);
    const Reading reading = readingOf(name, cut, rules);
    const std::size_t line = cut.find_last_of("\r\n") + 1;
    const bool blank = cut.find_first_not_of(" \t", line) == std::string::npos;
    ++(blank ? afterLine : inLine);
    const bool silent = reading.findings.empty();
    if (silent) (blank ? silentAfterLine : silentInLine) += " " + std::to_string(length);
    if (!std::includes(sound.values.begin(), sound.values.end(), reading.values.begin(),
                       reading.values.end()))
      (silent ? silentOthers : others) += " " + std::to_string(length);
  }
  text += "cut in a line: " + std::to_string(inLine) + ", in silence" +
          (silentInLine.empty() ? " none" : silentInLine) + "\n";
  text += "cut after a line: " + std::to_string(afterLine) + ", in silence" +
          (silentAfterLine.empty() ? " none" : silentAfterLine) + "\n";
  return text + "values that the whole does not have: at" + (others.empty() ? " none" : others) +
         ", in silence" + (silentOthers.empty() ? " none" : silentOthers) + "\n";
}
