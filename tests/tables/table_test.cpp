#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "tables/dump.h"

// Runs the cases in tests/tables/*.txt, each as a test of its own; README.md beside them describes the
// format. With WRITE_TABLES set in the environment, what came out is written into the tables.

namespace {

namespace fs = std::filesystem;

const std::map<std::string, bool ReadingRules::*> kDecisions = [] {
  std::map<std::string, bool ReadingRules::*> members;
  for (const ReadingRules::Decision& decision : ReadingRules::decisions())
    members[decision.name] = decision.member;
  return members;
}();

/// Host rules, plain rules, or host rules with the decision of that name taken the other way.
ReadingRules rulesNamed(const std::string& name) {
  if (name == "host") return ReadingRules::host();
  return name == "plain" ? ReadingRules::plain() : hostBut(kDecisions.at(name));
}

std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (text[i] != '\\' || next == '\0') {
      plain += text[i];
    } else if (next == 'x') {
      plain += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
      i += 3;
    } else {
      plain += next == 'r' ? '\r' : next == 'n' ? '\n' : next == 't' ? '\t' : next;
      ++i;
    }
  }
  return plain;
}

/// Words between blanks; "quotes" hold one with blanks, or an empty one.
class Words {
 public:
  explicit Words(const std::string& line) : m_in(line) { m_in >> std::ws; }
  bool end() { return (m_in >> std::ws).peek() == EOF; }
  std::string word() {
    std::string text;
    if ((m_in >> std::ws).peek() != '"') {
      m_in >> text;
    } else {
      m_in.get();
      for (char c = 0; m_in.get(c) && c != '"';) {
        text += c;
        if (c == '\\') text += static_cast<char>(m_in.get());
      }
    }
    return unescaped(text);
  }
  std::int64_t number() { return std::stoll(word()); }
  std::vector<std::int64_t> numbers() {
    std::vector<std::int64_t> all;
    while (!end())
      all.push_back(number());
    return all;
  }

 private:
  std::istringstream m_in;
};

/// "i32 3 f64 0.5 sized text ..." as bytes.
Bytes bytesOf(Words&& words) {
  Bytes bytes;
  const auto sized = [&](const std::string& text) {
    bytes.i32(static_cast<std::int64_t>(text.size())).raw(text);
  };
  while (!words.end()) {
    const std::string kind = words.word();
    if (kind == "i16") {
      bytes.i16(static_cast<int>(words.number()));
    } else if (kind == "i32") {
      bytes.i32(words.number());
    } else if (kind == "f64") {
      bytes.f64(std::strtod(words.word().c_str(), nullptr));
    } else if (kind == "raw") {
      bytes.raw(words.word());
    } else if (kind == "sized") {
      sized(words.word());
    } else if (kind == "tag") {  // an entry of an information file: name and type
      sized(words.word());
      bytes.i32(words.number());
    } else if (kind == "text") {
      const auto width = static_cast<std::size_t>(words.number());
      bytes.text(words.word(), width);
    } else if (kind == "repeat") {
      const std::int64_t count = words.number();
      const std::string what = words.word();
      for (std::int64_t i = 0; i < count; ++i)
        bytes.raw(what);
    } else {
      throw std::runtime_error("no kind of bytes: " + kind);
    }
  }
  return bytes;
}

/// "1292", or a place in the minimal resource file by its name: "sensors+8".
std::size_t placeOf(const std::string& text) {
  using D = MinimalDataset;
  static const std::map<std::string, std::size_t> kPlaces{
      {"filters", D::kFilterCount}, {"filter2", D::kSecondFilter},     {"names", D::kNames},
      {"sensors", D::kSensors},     {"records", D::kCoefficientCount}, {"record", D::kCoefficients}};
  const std::size_t plus = text.find('+');
  const auto named = kPlaces.find(text.substr(0, plus));
  if (named == kPlaces.end()) return std::stoul(text);
  return named->second + (plus == std::string::npos ? 0 : std::stoul(text.substr(plus + 1)));
}

CMarkerDatazk markerIn(const std::vector<std::int64_t>& trials) {
  CMarkerDatazk marker;
  for (const std::int64_t trial : trials)
    marker.samples.push_back({static_cast<std::int32_t>(trial), 0.0, 0});
  return marker;
}

/// What a case is about: the dataset with its other files, and what is done with it.
struct Case {
  MinimalDataset dataset;
  int channels = 2, samples = 3;
  std::map<std::string, std::string> files;
  std::vector<std::string> directories;
  std::map<std::string, std::uintmax_t> grown;
  std::string lastFile, before, run, show, against;
  bool ownSampleFiles = false;

  void apply(const std::string& line) {
    if (line[0] == '|' || line[0] == ':') {
      const bool open = line[0] == '|' && line.size() > 1 && line.back() == '\\';
      files[lastFile] += line[0] == ':' ? bytesOf(Words(line.substr(1))).str()
                         : open         ? unescaped(line.substr(1, line.size() - 2))
                                        : unescaped(line.substr(1)) + "\n";
      return;
    }
    Words words(line);
    const std::string what = words.word();
    const auto rest = [&] { return line.size() > what.size() ? line.substr(what.size() + 1) : ""; };
    if (what == "file") {
      files[lastFile = words.word()].clear();
    } else if (what == "more") {
      lastFile = words.word();
    } else if (what == "swap") {
      std::string& content = files[lastFile];
      const std::string old = words.word(), replacement = words.word();
      content.replace(content.find(old), old.size(), replacement);
    } else if (what == "without") {
      files.erase(words.word());
    } else if (what == "directory") {
      directories.push_back(words.word());
      files.erase(directories.back());
    } else if (what == "grow") {
      const std::string name = words.word();
      grown[name] = static_cast<std::uintmax_t>(words.number());
    } else if (what == "at") {
      const std::size_t place = placeOf(words.word());
      dataset.res4.put(place, bytesOf(Words(rest().substr(rest().find(' ') + 1))));
    } else if (what == "erase") {
      std::string bytes = dataset.res4.str();
      const std::size_t place = placeOf(words.word());
      dataset.res4 = Bytes().raw(bytes.erase(place, static_cast<std::size_t>(words.number())));
    } else if (what == "shape") {
      const int trials = static_cast<int>(words.number());
      channels = static_cast<int>(words.number());
      samples = static_cast<int>(words.number());
      dataset.resize(trials, channels, samples);
    } else if (what == "meg4") {
      if (!ownSampleFiles) dataset.sampleFiles.clear();
      ownSampleFiles = true;
      const std::string first = words.end() ? "" : words.word();
      if (first != "none")
        dataset.sampleFiles.push_back(first == "bytes" ? bytesOf(std::move(words)).str() : trials(rest()));
      if (first == "none" && !words.end()) dataset.sampleFiles.emplace_back();
    } else if (what == "before" || what == "run" || what == "show" || what == "against") {
      (what == "before" ? before : what == "run" ? run : what == "show" ? show : against) = rest();
    } else {
      throw std::runtime_error("no such word: " + what);
    }
  }

  /// A sample file of these trials, "3:5" for the first 5 bytes of trial 3.
  std::string trials(const std::string& list) const {
    std::vector<std::string> all;
    for (Words words(list); !words.end();) {
      const std::string word = words.word();
      const std::size_t colon = word.find(':');
      all.push_back(MinimalDataset::trial(std::stoi(word), channels, samples));
      if (colon != std::string::npos) all.back().resize(std::stoul(word.substr(colon + 1)));
    }
    return MinimalDataset::sampleFile(all);
  }
};

/// A reader of a case's dataset, and what it did.
struct Run : Probe {
  Run(const Case& c, const ReadingRules& rules) : Probe(rules), path(writeDataset(c.dataset)) {
    const fs::path folder = directory.path() / "run.ds";
    for (const auto& [name, content] : c.files)
      writeFile(folder / name, content);
    for (const std::string& name : c.directories)
      fs::create_directory(folder / name);
    for (const auto& [name, size] : c.grown)
      fs::resize_file(folder / name, size);
    data.setImportTrace(&trace);
    destination.setImportTrace(&trace);
  }
  ~Run() {
    for (int i = 0; i < array.GetSize(); ++i)
      delete static_cast<CMEGDatazk*>(array.GetAt(i));
  }

  /// Does "a; b 1 2", and says what came of each.
  std::string perform(const std::string& operations) {
    std::string outcomes;
    std::istringstream in(operations);
    for (std::string each; std::getline(in, each, ';');) {
      Words words(each);
      const std::string name = words.word();
      std::string outcome = "file error";
      try {
        outcome = std::to_string(operation(name, words.numbers()));
      } catch (CFileException* error) {
        error->Delete();
      }
      outcomes += (outcomes.empty() ? "" : ", ") + name + " = " + outcome;
    }
    return outcomes;
  }

  Dump dump() {
    Dump all(*this);
    all.trials("other ", destination);
    for (int i = 0; i < array.GetSize(); ++i)
      all.trials("appended ", *static_cast<CMEGDatazk*>(array.GetAt(i)));
    return all;
  }

  using Numbers = std::vector<std::int64_t>;
  int operation(const std::string& name, const Numbers& n);

  CString path;
  CMEGDatazk destination;
  CPtrArray array;
  ImportTrace trace;
};

/// Operations that take a path: what follows its dot.
const std::map<std::string, std::pair<int (CCtfDatasetReader::*)(const CString&), const wchar_t*>> kOfAPath{
    {"res4", {&CCtfDatasetReader::readRes4, L""}},
    {"T", {&CCtfDatasetReader::readCtfDataT, L"res4"}},
    {"C", {&CCtfDatasetReader::readCtfDataC, L"res4"}},
    {"coils", {&CCtfDatasetReader::readHeadCoilsToDataset, L""}},
    {"localization", {&CCtfDatasetReader::readHeadCoilsToLocalization, L""}},
    {"markers", {&CCtfDatasetReader::readMarkers, L"res4"}},
    {"markerFile", {&CCtfDatasetReader::loadMarkerFile, L"res4"}},
    {"classes", {&CCtfDatasetReader::readClassFile, L"res4"}},
    {"infods", {&CCtfDatasetReader::readInfoDsFile, L"infods"}},
    {"eeg", {&CCtfDatasetReader::readEegFile, L"eeg"}},
    {"pos", {&CCtfDatasetReader::readPosFile, L"pos"}},
    {"virtual", {&CCtfDatasetReader::readVirtualChannels, L"res4"}},
    {"bad", {&CCtfDatasetReader::readBadChannels, L"res4"}},
    {"segments", {&CCtfDatasetReader::readBadSegments, L"res4"}}};

int Run::operation(const std::string& name, const Numbers& n) {
  if (const auto found = kOfAPath.find(name); found != kOfAPath.end())
    return (this->*found->second.first)(getFilePathBasic(path) + found->second.second);
  const CMarkerDatazk marker = markerIn(n);
  const int first = n.empty() ? 0 : static_cast<int>(n[0]);
  if (name == "channels")
    return data.importTrialChannels(1, info().numChannels, &m_sensors, &m_electrodes, &m_channelNames,
                                    &m_channelShortNames, nullptr);
  if (name == "info") return readDatasetInfo(path, &data, n.empty() ? nullptr : &marker);
  if (name == "array") return readDatasetToArray(path, &array, nullptr, nullptr);
  if (name == "arraySplit") return readTrialSplitToArray(path, &array, first, nullptr);
  if (name == "check") return checkDataset(path, &data);
  if (name == "trigger") return readCtfDataTrigger(path, n.empty() ? nullptr : &marker);
  if (name == "mark") return destination.getTrigManager()->copyNewTrigType(&marker, false);
  if (name == "multi") return readCtfDataMultiTrial(path, &data, &destination);
  if (name == "multiOfNone") return readCtfDataMultiTrial(path, nullptr, &destination);
  if (name == "multiIntoNone") return readCtfDataMultiTrial(path, &data, nullptr);
  if (name == "accumulate") return readCtfDataAccumulate(path, &destination, first);
  if (name == "average") return readCtfDataAverage(path, &destination);
  if (name == "resample") return readCtfDataResample(path, first);
  if (name == "select") return readCtfDataSelected(path, n.at(0), n.at(1));
  if (name == "split") return readCtfDataTsplit(path, first);
  throw std::runtime_error("no such operation: " + name);
}

/// What comes of a case, as lines: outcomes, what is held that was not before, what was shown, findings.
std::string resultOf(const Case& c, const std::string& rules) {
  Run run(c, rulesNamed(rules));
  run.perform(c.before);
  Dump base = run.dump();
  if (!c.against.empty()) {
    Run other(Case{}, ReadingRules::host());
    other.perform(c.against);
    base = other.dump();
  }
  std::string text = run.perform(c.run) + "\n";
  const std::multiset<std::string> known(base.lines().begin(), base.lines().end());
  const Dump after = run.dump();
  for (const std::string& line : after.lines())
    if (!known.contains(line)) text += line + "\n";
  const auto shows = [&](const char* what) { return c.show.find(what) != std::string::npos; };
  std::string calls, progress;
  for (const std::string& call : run.trace.calls)
    calls += " " + call.substr(call.starts_with("import") ? 6 : 0);
  if (shows("calls")) text += "calls:" + calls + "\n";
  const std::string folder = toUtf8(toWindowsPath((run.directory.path() / "run.ds").string()));
  for (std::string line : run.user.transcript()) {
    for (std::size_t at = 0; (at = line.find(folder)) != std::string::npos;)
      line.replace(at, folder.size() + 1, "DATASET ");
    if (line.starts_with("message") || line.starts_with("question"))
      text += shownAs(fromUtf8(line)) + "\n";
    else
      progress += (progress.empty() ? "" : ", ") + line;
  }
  if (shows("progress")) text += (progress.empty() ? "no progress" : progress) + "\n";
  for (const Finding& f : run.user.findings()) {
    const std::string file = toUtf8(f.file);
    text += std::array{"remark: ", "warning: ", "error: "}.at(static_cast<std::size_t>(f.severity)) + f.code +
            " " + file.substr(file.find_last_of('\\') + 1) + (f.line ? " line " + shownAs(*f.line) : "") +
            (f.offset ? " byte " + shownAs(*f.offset) : "") + "\n";
  }
  return text;
}

/// The rules that "both" stands for, or those alone.
std::vector<std::string> rulesIn(const std::string& section) {
  return section == "both" ? std::vector<std::string>{"host", "plain"} : std::vector{section};
}

/// A case as its table has it.
struct Written {
  std::string table, name;
  std::vector<std::string> lines;                             // the table's first lines, then its own
  std::vector<std::pair<std::string, std::string>> expected;  // by the name of the rules

  std::string testName() const {
    std::string test = name;
    std::replace_if(
        test.begin(), test.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return test;
  }

  Case prepared() const {
    Case c;
    for (const std::string& line : lines)
      c.apply(line);
    return c;
  }
};

class TableCase : public testing::Test {
 public:
  explicit TableCase(const Written& written) : m_written(written) {}
  void TestBody() override {
    for (const auto& [rules, expected] : m_written.expected)
      for (const std::string& each : rulesIn(rules))
        EXPECT_EQ(resultOf(m_written.prepared(), each), expected) << each << " rules";
  }

 private:
  const Written& m_written;
};

/// The cases of a table; `rewritten` is the table with what comes out today, where that is wanted.
std::vector<Written> read(const fs::path& file, std::string* rewritten) {
  std::vector<Written> cases;
  std::vector<std::string> start;
  std::vector<std::string> rules;  // sections to write anew at the end of a case
  const auto finish = [&] {
    std::vector<std::pair<std::string, std::string>> results;
    for (const std::string& each : rewritten ? rules : std::vector<std::string>())
      for (const std::string& name : rulesIn(each))
        results.emplace_back(name, resultOf(cases.back().prepared(), name));
    if (results.size() == 2 && results[1].first == "plain" && results[0].second == results[1].second)
      results = {{"both", results[0].second}};
    for (const auto& [name, text] : results) {
      *rewritten += name + ":\n";
      std::istringstream in(text);
      for (std::string line; std::getline(in, line);)
        *rewritten += "  " + line + "\n";
    }
    if (rewritten && !rules.empty()) *rewritten += "\n";
    rules.clear();
  };
  std::istringstream in(readFile(file));
  for (std::string line; std::getline(in, line);) {
    const bool section =
        line.ends_with(':') && line.find(' ') == std::string::npos && line[0] != '|' && line[0] != ':';
    if (line.starts_with("== ")) {
      finish();
      cases.push_back({file.stem().string(), line.substr(3), start, {}});
    } else if (section) {
      rules.push_back(line.substr(0, line.size() - 1));
      cases.back().expected.emplace_back(rules.back(), "");
    } else if (line.starts_with("  ")) {
      cases.back().expected.back().second += line.substr(2) + "\n";
    } else if (!line.empty() && line[0] != '#') {
      (cases.empty() ? start : cases.back().lines).push_back(line);
    }
    if (rewritten && !section && !line.starts_with("  ") && (rules.empty() || !line.empty()))
      *rewritten += line + "\n";
  }
  finish();
  return cases;
}

const std::vector<Written>& allCases() {
  static const std::vector<Written> all = [] {
    std::vector<Written> cases;
    for (const auto& entry : fs::directory_iterator(TABLES)) {
      if (entry.path().extension() != ".txt") continue;
      std::string rewritten;
      const bool write = std::getenv("WRITE_TABLES") != nullptr;
      for (Written& each : read(entry.path(), write ? &rewritten : nullptr))
        cases.push_back(std::move(each));
      if (write) writeFile(entry.path(), rewritten);
    }
    return cases;
  }();
  return all;
}

TEST(Tables, EachDecisionAloneChangesACase) {
  std::set<std::string> seen;
  for (const Written& c : allCases())
    for (const auto& [rules, expected] : c.expected)
      if (kDecisions.contains(rules) && resultOf(c.prepared(), "host") != expected) seen.insert(rules);
  seen.insert("wideCounts");  // shows only in files too large to be read here (reader_test.cpp)
  for (const auto& [name, member] : kDecisions)
    EXPECT_TRUE(seen.contains(name)) << name;
}

const bool kRegistered = [] {
  for (const Written& each : allCases())
    testing::RegisterTest(each.table.c_str(), each.testName().c_str(), nullptr, nullptr, __FILE__, __LINE__,
                          [&each]() -> testing::Test* { return new TableCase(each); });
  return true;
}();

}  // namespace
