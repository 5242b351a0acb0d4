#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "hosts/reader/ctf_dataset_reader.h"
#include "support/temporary_directory.h"

#include <ctfmeg/recording.h>
#include <megreader/framework/native_path.h>
#include <megreader/reader/meg_reader_face.h>

// What every target reads its bytes as, under host rules and under plain rules: one file of a dataset, its
// sample files, or a dataset as a whole. FUZZ_TARGET says which target is compiled.

namespace {

using Bytes = std::basic_string_view<std::uint8_t>;

/// In this process's dataset, removed at the end.
std::filesystem::path fileOf(const std::string& name) {
  static const TemporaryDirectory directory;
  static const bool made = std::filesystem::create_directory(directory.path() / "run.ds");
  return made ? directory.path() / "run.ds" / name : "";
}

void write(const std::string& name, Bytes bytes) {
  writeFile(fileOf(name), {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

/// The path up to and including the dot before the extension, as readers take it.
CString base() { return toWindowsPath(fileOf("run.").string()); }

/// The reader object of one reading, with a data object of its own.
class FuzzReader : public CCtfDatasetReader {
 public:
  explicit FuzzReader(const ReadingRules& rules) : CCtfDatasetReader(rules) {
    m_currentData = &data;
    data.getMEGRecordInfozk()->sampleRate = 1200.0;
    data.getMEGRecordInfozk()->preTrigSamples = 240;
  }

  CMEGDatazk data;
};

/// A file error ends an operation, as it ends a host's reading.
template <class Operation>
void untilError(Operation operation) {
  try {
    operation();
  } catch (CException* error) {
    error->Delete();
  }
}

template <class Read>
void byBothRules(Read read) {
  for (const ReadingRules& rules : {ReadingRules::host(), ReadingRules::plain()}) {
    FuzzReader reader(rules);
    untilError([&] { read(reader); });
  }
}

/// A target for one file.
struct FileTarget {
  std::string_view target;
  const char* file;
  void (*read)(FuzzReader& reader);
};

const FileTarget kFileTargets[] = {
    {"res4", "run.res4", [](FuzzReader& r) { r.readRes4(base()); }},
    {"head_coils", "run.hc",
     [](FuzzReader& r) {
       r.readHeadCoilsToDataset(base());
       r.readHeadCoilsToLocalization(base());
     }},
    {"markers", "MarkerFile.mrk", [](FuzzReader& r) { r.readMarkers(base()); }},
    {"classes", "ClassFile.cls", [](FuzzReader& r) { r.readClassFile(base()); }},
    {"infods", "run.infods", [](FuzzReader& r) { r.readInfoDsFile(base() + L"infods"); }},
    {"electrodes", "run.eeg", [](FuzzReader& r) { r.readEegFile(base() + L"eeg"); }},
    {"positions", "run.pos", [](FuzzReader& r) { r.readPosFile(base() + L"pos"); }},
    {"virtual_channels", "VirtualChannels", [](FuzzReader& r) { r.readVirtualChannels(base()); }},
    {"bad_channels", "BadChannels", [](FuzzReader& r) { r.readBadChannels(base()); }},
    {"bad_segments", "bad.segments", [](FuzzReader& r) { r.readBadSegments(base()); }},
};

void importAll(FuzzReader& reader, const std::array<int, 3>& counts) {
  const CString path = base() + L"meg4";
  const auto again = [&](auto import) {
    CMEGRecordInfozkProzk& info = *reader.data.getMEGRecordInfozk();
    info.numTrials = counts[0];
    info.numChannels = counts[1];
    info.samplesPerTrial = counts[2];
    untilError(import);
  };
  CMarkerDatazk marker;
  marker.samples = {{.trial = 0}, {.trial = 2}, {.trial = -1}};
  reader.data.getTrigManager()->copyNewTrigType(&marker, false);
  again([&] { reader.readCtfDataT(path); });
  again([&] { reader.readCtfDataC(path); });
  again([&] { reader.readCtfDataTrigger(path, &marker); });
  again([&] { reader.readCtfDataMultiTrial(path, &reader.data, &reader.data); });
  again([&] { reader.readCtfDataAccumulate(path, &reader.data, 2); });
  again([&] { reader.readCtfDataAverage(path, &reader.data); });
  again([&] { reader.readCtfDataResample(path, 3); });
  again([&] { reader.readCtfDataSelected(path, 1, 2); });
  again([&] { reader.readCtfDataTsplit(path, 2); });
}

/// The first five bytes are counts: trials, channels and samples as the header might have them, and the
/// lengths of the first two of three sample files in 256ths; the rest is their content.
void readSamples(Bytes bytes) {
  constexpr std::size_t kHead = 5;
  if (bytes.size() < kHead) return;
  const std::array<int, 3> counts{bytes[0] - 2, bytes[1] - 2, bytes[2] - 2};
  Bytes rest = bytes.substr(kHead);
  const std::array<std::size_t, 3> lengths{rest.size() * bytes[3] / 256, rest.size() * bytes[4] / 256,
                                           rest.size()};
  const std::array<std::string, 3> names{"run.meg4", "run.1_meg4", "run.2_meg4"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Bytes content = rest.substr(0, lengths[i]);
    std::filesystem::remove(fileOf(names[i]));
    if (!content.empty() || i == 0) write(names[i], content);
    rest.remove_prefix(content.size());
  }
  byBothRules([&](FuzzReader& reader) { importAll(reader, counts); });
}

constexpr std::array<const char*, 14> kFiles{
    "run.res4",           "run.meg4",      "run.1_meg4",   "run.hc",    "MarkerFile.mrk",
    "MarkerFile.mrk.bak", "ClassFile.cls", "run.infods",   "run.eeg",   "run.pos",
    "VirtualChannels",    "BadChannels",   "bad.segments", "run.2_meg4"};

void readByFacade(const ReadingRules& rules) {
  CMEGReaderFacezk facade;
  facade.setReadingRules(rules);
  CString path = toWindowsPath(fileOf("run.res4").string());
  CMEGDatazk info;
  CPtrArray array;
  untilError([&] {
    facade.readCTFMEGDataInfo(path, &info);
    facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr);
  });
  for (int i = 0; i < array.GetSize(); ++i)
    delete static_cast<CMEGDatazk*>(array.GetAt(i));
}

void readByRecording(ctfmeg::Rules rules) {
  try {
    ctfmeg::Recording::open(fileOf("run.res4"), {.rules = rules}).read();
  } catch (const ctfmeg::Error&) {
    // What can't be read is said in just this way.
  }
}

/// Files one after another: a byte that says which, two bytes for its length, most significant first, and its
/// content.
void readDataset(Bytes bytes) {
  constexpr std::size_t kHead = 3;
  for (const char* file : kFiles)
    std::filesystem::remove(fileOf(file));
  while (bytes.size() > kHead) {
    const std::size_t length = std::min<std::size_t>(bytes[1] * 256U + bytes[2], bytes.size() - kHead);
    write(kFiles[bytes[0] % kFiles.size()], bytes.substr(kHead, length));
    bytes.remove_prefix(kHead + length);
  }
  readByFacade(ReadingRules::host());
  readByFacade(ReadingRules::plain());
  readByRecording(ctfmeg::Rules::host);
  readByRecording(ctfmeg::Rules::plain);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::string_view kTarget = FUZZ_TARGET;
  const Bytes bytes(data, size);
  if (kTarget == "samples") readSamples(bytes);
  if (kTarget == "dataset") readDataset(bytes);
  for (const FileTarget& target : kFileTargets)
    if (kTarget == target.target) {
      write(target.file, bytes);
      byBothRules(target.read);
    }
  return 0;
}
