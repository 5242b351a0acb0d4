#include "hostile/dataset.h"

#include <algorithm>
#include <memory>
#include <new>

#include <megreader/framework/exceptions.h>
#include <megreader/framework/native_path.h>
#include <megreader/reader/meg_reader_face.h>
#include "simulate/dataset.h"

namespace {

/// Listens, and takes no memory for it.
class Listener : public UserInterface {
 public:
  MessageAnswer messageBox(const CString& /*text*/, MessageStyle /*style*/) override {
    ++told;
    return MessageAnswer::no;
  }
  std::unique_ptr<ProgressWindow> openProgress(const CString& /*title*/) override { return nullptr; }
  void report(const Finding& /*finding*/) override { ++told; }

  int told = 0;
};

/// A host's array, which owns the data objects in it.
struct DataArray : CPtrArray {
  ~DataArray() {
    for (int i = 0; i < GetSize(); ++i)
      delete static_cast<CMEGDatazk*>(GetAt(i));
  }
};

std::string amounts(const CMEGDatazk& data) {
  std::string text;
  for (const std::int64_t amount : std::initializer_list<std::int64_t>{
           data.numStoredTrials(), std::ssize(data.channels()), std::ssize(data.electrodes()),
           data.getTrigManager()->getTotalMarkzk(), data.getTrigManager()->getTotalTrgMrkPts(),
           data.getClassManager()->getTotalMarkzk(), data.fiducialSource, std::ssize(data.digitisedPoints()),
           std::ssize(data.badChannelNames()), std::ssize(data.badSegments()),
           std::ssize(data.virtualChannels), data.getMEGRecordInfozk()->information.text.GetLength()})
    text += std::to_string(amount) + " ";
  // What the samples are and when markers were set, as one number.
  std::uint64_t sum = 0;
  const auto add = [&sum](std::int64_t value) {
    sum = (sum ^ static_cast<std::uint64_t>(value)) * 0x100000001B3U;
  };
  for (int t = 0; t < data.trialSlots(); ++t)
    if (const std::int32_t* samples = data.trialSamples(t))
      for (std::int64_t i = 0; i < data.storedChannels() * data.storedSamples(); ++i)
        add(samples[i]);
  for (int m = 0; m < data.getTrigManager()->getTotalMarkzk(); ++m)
    for (const MarkerSample& sample : data.getTrigManager()->getMarker(m, true)->samples)
      add(sample.trial * std::int64_t{1'000'000} + sample.sample);
  return text + std::to_string(sum);
}

}  // namespace

VictimDataset::VictimDataset() {
  // Side files as a simulation has them; of the resource file every byte's place is to be known.
  ctfmeg::simulate::Options options;
  options.channels = 6;
  options.samples = 8;
  const auto dataset = m_directory.path() / "run.ds";
  ctfmeg::simulate::writeDataset(dataset, options);
  MinimalDataset minimal;
  minimal.sampleFiles = {MinimalDataset::sampleFile({MinimalDataset::trial(0, 2, 3)}),
                         MinimalDataset::sampleFile({MinimalDataset::trial(1, 2, 3)})};
  minimal.write(m_directory.path());
  writeFile(dataset / "run.eeg", "1 Cz 1.5 -2.25 9.75\n2 Pz 0 -4 9\n");
  writeFile(dataset / "BadChannels", "STIM\n");
  // Without blank lines, which host rules stumble over: by either rule nothing is to be told.
  std::string markers = readFile(dataset / "MarkerFile.mrk");
  for (std::size_t at = 0; (at = markers.find("COMMENT:\n\n", at)) != std::string::npos; ++at)
    markers.insert(at + 9, "none");
  writeFile(dataset / "MarkerFile.mrk", markers);
  writeFile(dataset / "MarkerFile.mrk.bak", markers);
  for (const auto& entry : std::filesystem::directory_iterator(dataset))
    m_contents[entry.path().filename().string()] = readFile(entry.path());
}

MinimalDataset largeTrials() {
  MinimalDataset dataset;
  dataset.resize(2, 3, 70'001);  // no multiple of a piece
  return dataset;
}

Load load(const std::filesystem::path& file, const ReadingRules& rules, int threads) {
  Listener listener;
  const ThreadUserInterface installed(&listener);
  Load result;
  DataArray array;
  try {
    CMEGReaderFacezk facade;
    facade.setReadingRules(rules);
    facade.setReadingThreads(threads);
    const CString path = toWindowsPath(file.string());
    if (facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr)) result.outcome = Outcome::complete;
    if (array.GetSize() > 0) result.data = amounts(*static_cast<CMEGDatazk*>(array.GetAt(0)));
  } catch (CFileException* error) {
    error->Delete();
    result.outcome = Outcome::fileError;
  } catch (CMemoryException* error) {
    error->Delete();
    result.outcome = Outcome::memoryError;
  } catch (const std::bad_alloc&) {
    result.outcome = Outcome::memoryError;
  }
  result.told = listener.told;
  return result;
}
