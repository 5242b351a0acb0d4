#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

#include <megreader/reader/meg_reader_face.h>
#include "support/allocations.h"
#include "support/command.h"
#include "support/unreadable_file.h"
#include "tables/dump.h"

#include <ctfmeg/path_text.h>

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

bool isCommand(const std::string& section) { return section.starts_with("$ "); }

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

const std::set<std::string> kTexts{"before", "run", "show", "against", "path"};
const std::set<std::string> kLists{"directory", "grow", "copy",   "rename", "link",   "unreadable",
                                   "posix",     "real", "answer", "type",   "choose", "noMemory"};

/// What a case is about: the dataset with its other files, and what is done with it.
struct Case {
  MinimalDataset dataset;
  int channels = 2, samples = 3;
  std::map<std::string, std::string> files;
  std::string lastFile;
  bool ownSampleFiles = false;
  std::map<std::string, std::string> texts{{"path", "run.ds/run.res4"}};  // what follows "run", ...
  std::map<std::string, std::vector<std::vector<std::string>>> lists;     // words of each line of "copy", ...

  std::string text(const char* word) const { return texts.contains(word) ? texts.at(word) : ""; }
  std::vector<std::vector<std::string>> list(const char* word) const {
    return lists.contains(word) ? lists.at(word) : std::vector<std::vector<std::string>>();
  }
  std::vector<std::string> words(const char* word) const {
    return lists.contains(word) ? lists.at(word).back() : std::vector<std::string>();
  }

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
    } else if (kTexts.contains(what)) {
      texts[what] = rest();
    } else if (kLists.contains(what)) {
      auto& list = lists[what].emplace_back();
      while (!words.end())
        list.push_back(words.word());
      if (what == "directory") files.erase(list.at(0));
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
struct CaseRun : Probe {
  CaseRun(const Case& c, const ReadingRules& rules)
      : Probe(rules),
        path(toWindowsPath(
            (directory.path() / ctfmeg::pathFromText(c.text("path"))).make_preferred().string())) {
    writeDataset(c.dataset);
    const fs::path folder = directory.path() / "run.ds";
    for (const auto& line : c.list("directory"))
      fs::create_directories(folder / ctfmeg::pathFromText(line.at(0)));
    for (const auto& [name, content] : c.files)
      writeFile(folder / ctfmeg::pathFromText(name), content);
    for (const auto& line : c.list("grow"))
      fs::resize_file(folder / line.at(0), std::stoull(line.at(1)));
    for (const auto& line : c.list("copy")) {
      const fs::path target = directory.path() / ctfmeg::pathFromText(line.at(1));
      fs::create_directories(target.parent_path());
      fs::copy(directory.path() / line[0], target, fs::copy_options::recursive);
    }
    for (const auto& line : c.list("rename"))
      fs::rename(folder / line.at(0), folder / line.at(1));
    for (const auto& line : c.list("link"))
      fs::create_symlink(line.at(0), directory.path() / line.at(1));
    for (const auto& line : c.list("unreadable"))
      unreadable.push_back(std::make_unique<UnreadableFile>(folder / line.at(0)));
    std::deque<MessageAnswer> answers;
    for (const std::string& answer : c.words("answer"))
      answers.push_back(answer == "yes" ? MessageAnswer::yes : MessageAnswer::no);
    std::deque<CString> typed, chosen;
    for (const std::string& text : c.words("type"))
      typed.push_back(fromUtf8(text));
    for (const std::string& times : c.words("choose"))
      chosen.resize(std::stoul(times), path);
    user.follow(answers, chosen, typed);
    facade.setReadingRules(rules);
    data.setImportTrace(&trace);
    destination.setImportTrace(&trace);
  }
  ~CaseRun() {
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
  CMEGReaderFacezk facade;
  std::vector<std::unique_ptr<UnreadableFile>> unreadable;
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

int CaseRun::operation(const std::string& name, const Numbers& n) {
  if (const auto found = kOfAPath.find(name); found != kOfAPath.end())
    return (this->*found->second.first)(getFilePathBasic(path) + found->second.second);
  CMarkerDatazk marker = markerIn(n);
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
  if (name == "facadeInfo") return facade.readCTFMEGDataInfo(path, &data);
  if (name == "facadeCheck") return facade.checkCTFMEGData(path, &data);
  if (name == "facadeArray") return facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr);
  if (name == "facadePrompt") return facade.readWithResamplePrompt(path, &array, nullptr);
  if (name == "chosenArray")
    return facade.openReadCTFMEGData2HdPa(&array, nullptr, n.empty() ? nullptr : &marker);
  if (name == "chosenResample") return facade.readResampling(&array, first, nullptr);
  if (name == "chosenSelect")
    return facade.readSelectSample(&array, first, static_cast<int>(n.at(1)), nullptr);
  if (name == "chosenSplit") return facade.readTrialSplit(&array, first, nullptr);
  throw std::runtime_error("no such operation: " + name);
}

void replaceAll(std::string& text, const std::string& old, const std::string& replacement) {
  for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += replacement.size())
    text.replace(at, old.size(), replacement);
}

/// The values of a NumPy array after its header.
template <class T>
std::string valuesIn(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i + sizeof(T) <= bytes.size(); i += sizeof(T)) {
    T value;
    std::memcpy(&value, bytes.data() + i, sizeof(T));
    text += " " + shownAs(value);
  }
  return text;
}

/// A NumPy file as its header and its values, JSON as what is found at `pointers`, else the text.
std::string readable(const std::string& bytes, const std::vector<std::string>& pointers) {
  if (bytes.starts_with(std::string("\x93NUMPY\x01\x00", 8)) && bytes.size() > 10) {
    const std::size_t start =
        10U + static_cast<unsigned char>(bytes[8]) + 256U * static_cast<unsigned char>(bytes[9]);
    const std::string header = bytes.substr(10, start - 10), data = bytes.substr(start);
    const bool whole = header.find("'<i4'") != std::string::npos;
    return header.substr(0, header.find('}') + 1) +
           (start % 64 == 0 && header.back() == '\n' ? "" : " misplaced") +
           (whole ? valuesIn<std::int32_t>(data) : valuesIn<double>(data)) + "\n";
  }
  std::string text;
  const auto all = pointers.empty() ? nlohmann::json() : nlohmann::json::parse(bytes);
  for (const std::string& pointer : pointers) {
    const nlohmann::json::json_pointer place(pointer == "/" ? "" : pointer);
    if (!all.contains(place)) {
      text += pointer + " none\n";
    } else if (const auto& value = all.at(place); pointer == "/") {
      text += value.dump(1) + "\n";
    } else if (value.is_array() && !value.empty() && value[0].is_object()) {
      for (const auto& each : value)
        text += pointer + " " + each.dump() + "\n";
    } else {
      text += pointer + " " + value.dump() + "\n";
    }
  }
  return pointers.empty() ? bytes : text;
}

/// What commands print, one after another: the exit code other than 0, output, and errors after "! ".
std::string printedBy(const CaseRun& run, const std::string& commands) {
  std::string text;
  std::istringstream in(commands);
  const std::string here = ctfmeg::textOf(run.directory.path());
  for (std::string each; std::getline(in, each, ';');) {
    std::vector<std::string> arguments, pointers;
    bool ofJson = false;
    for (Words words(each); !words.end();) {
      std::string word = words.word();
      replaceAll(word, "HERE", here);
      replaceAll(word, "REAL", REAL_RECORDING);
      if (word == "|")
        ofJson = true;
      else
        (ofJson ? pointers : arguments).push_back(word);
    }
    CommandResult result{0, "", ""};
    if (arguments.at(0) == "cat") {
      result.out = readFile(ctfmeg::pathFromText(arguments.at(1)));
    } else if (arguments[0] == "ls") {
      std::set<std::string> names;
      for (const auto& entry : fs::directory_iterator(run.directory.path()))
        names.insert(ctfmeg::textOf(entry.path().filename()) + "\n");
      for (const std::string& name : names)
        result.out += name;
    } else {
      result = runCommand(CTFMEG_COMMAND, {arguments.begin() + 1, arguments.end()});
    }
    if (result.exitCode != 0) text += "exit " + std::to_string(result.exitCode) + "\n";
    std::istringstream errors(result.err);
    text += readable(result.out, pointers);
    if (!text.empty() && text.back() != '\n') text += "(no line end)\n";
    for (std::string line; std::getline(errors, line);)
      text += "! " + (line.ends_with('\r') ? line.substr(0, line.size() - 1) : line) + "\n";
  }
#ifdef _WIN32  // paths are shown with slashes
  std::string inJson = here;
  replaceAll(inJson, "\\", "\\\\");
  for (const std::string& form : {inJson, here})
    for (std::size_t at = 0; (at = text.find(form, at)) != std::string::npos; ++at) {
      const std::size_t end = std::min(text.find_first_of("\n\",", at), text.size());
      std::string path = text.substr(at, end - at);
      replaceAll(path, form, "HERE");
      text.replace(at, end - at, std::regex_replace(path, std::regex(R"(\\{1,2}(?![xu]))"), "/"));
    }
#endif
  replaceAll(text, here, "HERE");
  replaceAll(text, REAL_RECORDING, "REAL");
  // The system's own sentences differ from system to system.
  text = std::regex_replace(text, std::regex("(can't be (read|scanned|written): )[A-Z][^\n\"]*"), "$1...");
  std::string shown;
  for (const char c : text) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, c == '\r' ? "\\r" : "\\x%02X", static_cast<unsigned char>(c));
    shown += static_cast<unsigned char>(c) < 0x20 && c != '\n' ? escaped : std::string(1, c);
  }
  return shown;
}

/// What comes of a case, as lines: outcomes, what is held that was not before, what was shown, findings.
std::string resultOf(const Case& c, const std::string& rules) {
  if (isCommand(rules)) return printedBy(CaseRun(c, ReadingRules::host()), rules.substr(2));
  CaseRun run(c, rulesNamed(rules));
  run.perform(c.text("before"));
  Dump base = run.dump();
  if (!c.text("against").empty()) {
    CaseRun other(Case{}, ReadingRules::host());
    other.perform(c.text("against"));
    base = other.dump();
  }
  std::optional<FailingNew> failing;
  for (const std::string& bytes : c.words("noMemory"))
    failing.emplace(static_cast<std::size_t>(std::stoull(bytes)));
  std::string text = run.perform(c.text("run")) + "\n";
  failing.reset();
  const std::multiset<std::string> known(base.lines().begin(), base.lines().end());
  const Dump after = run.dump();
  for (const std::string& line : after.lines())
    if (!known.contains(line)) text += line + "\n";
  const auto shows = [&](const char* what) { return c.text("show").find(what) != std::string::npos; };
  std::string calls, progress;
  for (const std::string& call : run.trace.calls)
    calls += " " + call.substr(call.starts_with("import") ? 6 : 0);
  if (shows("calls")) text += "calls:" + calls + "\n";
  const std::string folder = toUtf8(toWindowsPath((run.directory.path() / "run.ds").string()));
  for (std::string line : run.user.transcript()) {
    for (std::size_t at = 0; (at = line.find(folder)) != std::string::npos;)
      line.replace(at, folder.size() + 1, "DATASET ");
    replaceAll(line, toUtf8(toWindowsPath(run.directory.path().string())), "HERE");
    const std::string kind = line.substr(0, line.find_first_of(": "));
    if (kind == "progress" || kind == "range" || kind == "position" || kind == "closed")
      progress += (progress.empty() ? "" : ", ") + line;
    else
      text += shownAs(fromUtf8(line)) + "\n";
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

/// The rules that "both" means, or those alone.
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
    const Case c = m_written.prepared();
#ifdef _WIN32
    if (c.lists.contains("posix")) GTEST_SKIP();
#endif
    if (c.lists.contains("real") && !fs::exists(REAL_RECORDING))
      GTEST_SKIP() << "the real recording is not here";
    if (c.lists.contains("unreadable") && !CaseRun(c, ReadingRules::host()).unreadable[0]->works())
      GTEST_SKIP() << "no file here that opens but can't be read";
    for (const auto& [rules, expected] : m_written.expected)
      for (const std::string& each : rulesIn(rules))
        EXPECT_EQ(resultOf(c, each), expected) << each << " rules";
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
      *rewritten += name + (isCommand(name) ? "\n" : ":\n");
      std::istringstream in(text);
      for (std::string line; std::getline(in, line);)
        *rewritten += "  " + line + "\n";
    }
    if (rewritten && !rules.empty()) *rewritten += "\n";
    rules.clear();
  };
  std::istringstream in(readFile(file));
  for (std::string line; std::getline(in, line);) {
    const bool section = isCommand(line) || (line.ends_with(':') && line.find(' ') == std::string::npos &&
                                             line[0] != '|' && line[0] != ':');
    if (line.starts_with("== ")) {
      finish();
      cases.push_back({file.stem().string(), line.substr(3), start, {}});
    } else if (section) {
      rules.push_back(isCommand(line) ? line : line.substr(0, line.size() - 1));
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
