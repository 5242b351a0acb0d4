#include "tables/case_run.h"

#include <fstream>

#ifdef _WIN32
#include <windows.h>
#endif

#include <ctfmeg/path_text.h>

namespace {

namespace fs = std::filesystem;

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

/// Makes a file that opens, but that can't be read at its start while what is returned lives.
std::shared_ptr<void> makeUnreadable(const fs::path& path) {
#ifdef _WIN32  // somebody else has locked it
  writeFile(path, std::string(100, 'x'));
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  OVERLAPPED start{};
  LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, 100, 0, &start);
  return {file, CloseHandle};
#else
  fs::create_symlink("/proc/self/mem", path);  // nothing is mapped at its start
  return nullptr;
#endif
}

CMarkerDatazk markerIn(const std::vector<std::int64_t>& trials) {
  CMarkerDatazk marker;
  for (const std::int64_t trial : trials)
    marker.samples.push_back({static_cast<std::int32_t>(trial), 0.0, 0});
  return marker;
}

}  // namespace

bool someFilesAreUnreadable() {
  const TemporaryDirectory folder;
  const fs::path path = folder.path() / "file";
  const auto lock = makeUnreadable(path);
  return fs::exists(path) && std::ifstream(path, std::ios::binary).get() == std::char_traits<char>::eof();
}

CaseRun::CaseRun(const Case& c, const ReadingRules& rules)
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
    m_unreadable.push_back(makeUnreadable(folder / line.at(0)));
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

CaseRun::~CaseRun() {
  for (int i = 0; i < array.GetSize(); ++i)
    delete static_cast<CMEGDatazk*>(array.GetAt(i));
}

std::string CaseRun::perform(const std::string& operations) {
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

Dump CaseRun::dump() {
  Dump all(*this);
  all.trials("other ", destination);
  for (int i = 0; i < array.GetSize(); ++i)
    all.trials("appended ", *static_cast<CMEGDatazk*>(array.GetAt(i)));
  return all;
}

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
