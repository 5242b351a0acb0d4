#include "recording/dataset.h"

#include <unordered_map>

#include "ctf/event_files.h"
#include "ctf/head_coils.h"
#include "ctf/information_file.h"
#include "ctf/resource_file.h"
#include "ctf/side_files.h"

namespace ctfmeg {
namespace {

class DatasetReader {
 public:
  DatasetReader(const Store& store, const std::string& stem, const ReadingRules& rules, Notices& notices,
                Dataset& dataset)
      : m_store(store), m_stem(stem), m_rules(rules), m_notices(notices), m_dataset(dataset) {}

  bool readResource() {
    const std::string name = m_stem + ".res4";
    try {
      const OpenFile file = m_store.open(name);
      if (file == nullptr) throw FileError::ofMissing(m_store.pathOf(name));
      auto resource = readResourceFile(*file, m_rules, m_notices);
      if (!resource) return false;
      m_dataset.record = std::move(resource->record);
      m_dataset.channels = std::move(resource->channels);
      m_dataset.coefficients = std::move(resource->coefficients);
    } catch (const FileError& error) {
      m_notices.report(findingOf(error));
      return false;
    }
    if (m_dataset.record.numTrials < 1) return reportCounts("says that there are no trials", Severity::error);
    if (m_dataset.record.samplesPerTrial < 1)
      reportCounts("says that a trial has no samples", Severity::warning);
    return true;
  }

  void readSideFiles() {
    sideFile(m_stem + ".eeg", [&](const File& file) {
      readElectrodes(file, m_rules, m_notices,
                     [&](const Electrode& electrode) { m_dataset.electrodes.push_back(electrode); });
    });
    readMarkerFile("MarkerFile.mrk");
    if (m_dataset.markers.empty()) readMarkerFile("MarkerFile.mrk.bak");
    HeadCoilSets sets;
    sideFile(m_stem + ".hc", [&](const File& file) { readHeadCoilSets(file, m_rules, m_notices, sets); });
    m_dataset.fiducials = fiducialsOf(sets);  // also of what was read before an error
    sideFile(m_stem + ".infods",
             [&](const File& file) { readInformation(file, m_rules, m_notices, m_dataset.information); });
    sideFile("ClassFile.cls", [&](const File& file) {
      readClasses(file, m_rules, m_notices, [&](TrialClass trialClass) {
        m_dataset.classes.push_back(std::move(trialClass));
        return true;
      });
    });
    sideFile("bad.segments", [&](const File& file) {
      readBadSegments(file, m_rules, m_notices,
                      [&](const BadSegment& segment) { m_dataset.badSegments.push_back(segment); });
    });
    sideFile("BadChannels", [&](const File& file) {
      readBadChannels(file, m_rules, m_notices,
                      [&](const std::string& name, bool mayBeCut) { return markBad(name, mayBeCut); });
    });
    sideFile(m_stem + ".pos", [&](const File& file) {
      readDigitised(
          file, m_rules, m_notices,
          [&](const DigitisedPoint& point) { m_dataset.digitised.points.push_back(point); },
          [&](const DigitisedFiducial& fiducial) { m_dataset.digitised.fiducials.push_back(fiducial); });
    });
    sideFile("VirtualChannels", [&](const File& file) {
      m_dataset.virtualChannels = readVirtualChannels(file, m_rules, m_notices);
    });
  }

 private:
  using Severity = Finding::Severity;

  bool reportCounts(const char* text, Severity severity) const {
    m_notices.report({.severity = severity,
                      .code = wordOf(Code::res4Counts),
                      .file = m_store.pathOf(m_stem + ".res4"),
                      .text = text});
    return false;
  }

  /// A file that is missing is passed over in silence, one that can't be read with a finding.
  template <class Read>
  void sideFile(const std::string& name, Read read) const {
    try {
      if (const OpenFile file = m_store.open(name)) read(*file);
    } catch (const FileError& error) {
      m_notices.report(findingOf(error, Severity::warning));
    }
  }

  void readMarkerFile(const std::string& name) {
    const TrialTiming timing{m_dataset.record.sampleRate, m_dataset.record.preTrigSamples};
    sideFile(name, [&](const File& file) {
      readMarkers(file, timing, m_rules, m_notices, [&](ReadMarker read) {
        m_dataset.markers.push_back(std::move(read.marker));
        return true;
      });
    });
  }

  /// Marks the channel of that full name, else the channels of that short name. False when there is none.
  bool markBad(const std::string& name, bool mayBeCut) {
    if (m_byName.empty())
      for (std::size_t c = 0; c < m_dataset.channels.size(); ++c) {
        m_byName.emplace(m_dataset.channels[c].name, c);
        m_byShortName.emplace(m_dataset.channels[c].shortName, c);
      }
    const auto mark = [&](const auto& index) {
      const auto [first, last] = index.equal_range(name);
      for (auto named = first; named != last; ++named)
        m_dataset.channels[named->second].good = false;
      return first != last;
    };
    const bool known = mark(m_byName) || mark(m_byShortName);
    if (known || !mayBeCut) m_dataset.badChannels.push_back(name);
    return known;
  }

  const Store& m_store;
  const std::string& m_stem;
  const ReadingRules& m_rules;
  Notices& m_notices;
  Dataset& m_dataset;
  std::unordered_multimap<std::string, std::size_t> m_byName, m_byShortName;  // several may have one name
};

}  // namespace

bool readDataset(const Store& store, const std::string& stem, const ReadingRules& rules, Notices& notices,
                 Dataset& dataset) {
  DatasetReader reader(store, stem, rules, notices, dataset);
  if (!reader.readResource()) return false;
  reader.readSideFiles();
  return true;
}

}  // namespace ctfmeg
