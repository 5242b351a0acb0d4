#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "ctf/event_files.h"
#include "ctf/head_coils.h"
#include "ctf/information_file.h"
#include "ctf/side_files.h"
#include "hosts/framework/bridge.h"
#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/guarded.h"
#include "hosts/reader/to_data_model.h"

#include <megreader/framework/encoding.h>
#include <megreader/framework/finding.h>
#include <megreader/framework/user_interface.h>

// Files beside a recording, each of them optional.

namespace {

/// A recording can be used without them.
constexpr Finding::Severity kOptional = Finding::Severity::warning;

/// How a file is opened, and what is shown when it can't be opened or read. Most share these texts; hosts
/// know them from all of them.
struct SideFileManner {
  const wchar_t* openError = L"Open file Failed";  ///< %s is the path, %u the file error's cause
  const wchar_t* readError = L"Reading trigger error!";
  unsigned flags = CFile::modeRead | CFile::shareDenyNone;
};

constexpr SideFileManner kHeadCoilManner{.readError = L"Read head position error!"};
constexpr SideFileManner kMarkerManner{.openError = L"Can't open file %s, error = %u\n"};

/// Opens a file and returns the result of `read(file)`: 0, without a message, when there is no such file; 0
/// with the manner's message when it can't be opened. Throws what reading throws, as the framework does.
template <class Read>
int openSideFile(const CString& path, const SideFileManner& manner, Read read) {
  if (!ctfmeg::isThere(nativePath(path))) return 0;
  CFile file;
  CFileException error;
  if (openOrReport(file, path, manner.flags, error, kOptional))
    return asFramework([&]() -> int { return read(file); });
  CString message;
  message.Format(manner.openError, path, static_cast<unsigned>(error.m_cause));
  AfxMessageBox(message);
  return 0;
}

/// As `openSideFile`, but a file that can't be read shows the manner's message and returns 0.
template <class Read>
int readSideFile(const CString& path, const SideFileManner& manner, Read read) {
  return guardedAgainstFileErrors(
      manner.readError, 0, [&] { return openSideFile(path, manner, read); }, kOptional);
}

/// Runs `last` at the end of its scope, also when an exception passes: what was read until then counts.
template <class Last>
class Finally {
 public:
  explicit Finally(Last last) : m_last(std::move(last)) {}
  Finally(const Finally&) = delete;
  Finally& operator=(const Finally&) = delete;
  ~Finally() { m_last(); }

 private:
  Last m_last;
};

}  // namespace

// Head coils.

int CCtfReader3HeadCoils::readHeadCoilsToLocalization(const CString& prefix) {
  constexpr int kMostSets = 3;
  const CString path = prefix + L"hc";
  if (!ctfmeg::isThere(nativePath(path))) return 0;
  CHeadLocalizationzk& location = *m_currentData->getHeadLocationDataset();
  m_headLocation = &location.fiducials();
  m_headLocation->clear();
  return readSideFile(path, kHeadCoilManner, [&](const CFile& file) {
    HostNotices notices;
    const auto layout = ctfmeg::headCoilLayoutOf(file.opened(), m_rules, notices);
    if (layout < ctfmeg::fiveCoils) return 1;
    ctfmeg::TextLines lines(file.opened(), m_rules, notices);
    for (int i = 0; i < kMostSets; ++i) {
      std::unique_ptr<CFiducialzk> set(new (std::nothrow) CFiducialzk);
      if (!set) reportMemory(path, kOptional);
      ctfmeg::HeadCoilSet coils;
      if (!set || !ctfmeg::readHeadCoilBlock(lines, layout, coils, m_rules)) break;
      store(coils, *set);
      m_headLocation->push_back(std::move(set));
    }
    location.initSensorFiducial2HeadCenter();
    return 1;
  });
}

int CCtfReader3HeadCoils::readHeadCoilsToDataset(const CString& prefix) {
  constexpr int kSetsOfAFile = 3;
  return readSideFile(prefix + L"hc", kHeadCoilManner, [this](const CFile& file) {
    CMEGDatazk& data = *m_currentData;
    ctfmeg::HeadCoilSets sets{coilsOf(*data.getFidDewarStd()), coilsOf(*data.getFidDewarMsr()),
                              coilsOf(*data.getFidHeadMsr())};
    const auto read = [&] {
      const Finally kept([&] {
        store(sets.dewarStandard, *data.getFidDewarStd());
        store(sets.dewarMeasured, *data.getFidDewarMsr());
        store(sets.headMeasured, *data.getFidHeadMsr());
      });
      HostNotices notices;
      return ctfmeg::readHeadCoilSets(file.opened(), m_rules, notices, sets);
    };
    const ctfmeg::HeadCoilOutcome outcome = read();
    if (!outcome.recognised) return 1;
    data.setFidHeadMeasure2work();
    data.fiducialSource = 1;
    data.fiducialSetCount = kSetsOfAFile;
    return outcome.sets;
  });
}

// Markers and classes. MarkerFile.mrk.bak is of the same form as MarkerFile.mrk, and is read when that yields
// no marker.

namespace {

CString markerFileOf(const CString& path) {
  return CBasicReadUnix2Window::getFilePathDir(path) + L"MarkerFile.mrk";
}

/// Adds the marker with as many of its occurrences as there is memory for; false when there is none for the
/// marker itself.
bool addMarker(const ctfmeg::ReadMarker& read, const CString& path, CMarkerManagerzk& manager) {
  auto marker = toDataModel(read.marker);
  if (!marker) {
    reportMemory(path, kOptional);
    return false;
  }
  marker->displayName = marker->name;
  marker->numSamples = read.marker.numSamples;
  bool memoryLacked = read.memoryLacked;
  try {
    for (const ctfmeg::MarkerSample& sample : read.marker.samples)
      marker->samples.push_back({sample.trial, sample.timeMs, sample.sample});
  } catch (const std::bad_alloc&) {
    reportMemory(path, kOptional);
    memoryLacked = true;
  }
  if (memoryLacked) AfxMessageBox(L"Memory problem?!");
  manager.addMarker(std::move(marker));
  return true;
}

bool addClass(const ctfmeg::TrialClass& read, const CString& path, CMarkerManagerzk& manager) {
  auto trialClass = toDataModel(read);
  if (!trialClass) {
    reportMemory(path, kOptional);
    return false;
  }
  if (read.trials) trialClass->displayName = trialClass->name;
  // Hosts find an entry for each trial that does not say which.
  for (std::int64_t i = 0; i < read.numTrials; ++i)
    trialClass->addClassifyTrial(read.trials ? (*read.trials)[static_cast<std::size_t>(i)] : 0, 0, 0, 0, 1.0,
                                 0.0);
  manager.addMarker(std::move(trialClass));
  return true;
}

}  // namespace

int CCtfReader4Markers::readMarkers(const CString& path) {
  readMarkerFileAt(markerFileOf(path));
  if (m_currentData->getTrigManager()->getTotalMarkzk() < 1) readMarkerFileAt(markerFileOf(path) + L".bak");
  return 1;
}

int CCtfReader4Markers::readMarkerFileAt(const CString& path) {
  return readSideFile(path, kMarkerManner, [this](const CFile& file) { return parseOpened(file); });
}

int CCtfReader4Markers::parseOpened(const CFile& file) {
  file.GetLength();  // an error here is not one of parsing, which says nothing
  parseMarkerFile(file);
  return 1;
}

int CCtfReader4Markers::loadMarkerFile(const CString& path) {
  const auto load = [this](const CString& markers) {
    return openSideFile(markers, kMarkerManner, [this](const CFile& file) { return parseOpened(file); });
  };
  try {
    if (!load(markerFileOf(path))) return 0;
    if (m_currentData->getTrigManager()->getTotalMarkzk() > 0) return 1;
    return load(markerFileOf(path) + L".bak");
  } catch (CFileException* error) {  // this way of reading says nothing to the user
    reportFinding(findingOf(*error, kOptional));
    error->Delete();
    return 0;
  }
}

void CCtfReader4Markers::parseMarkerFile(const CFile& file) {
  if (m_currentData == nullptr) return;
  CMarkerManagerzk& manager = *m_currentData->getTrigManager();
  const CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  HostNotices notices;
  try {
    ctfmeg::readMarkers(
        file.opened(), {info.sampleRate, info.preTrigSamples}, m_rules, notices,
        [&](const ctfmeg::ReadMarker& read) { return addMarker(read, file.GetFilePath(), manager); });
  } catch (const ctfmeg::FileError& error) {  // what was read stays, and nothing is shown
    notices.report(ctfmeg::findingOf(error, ctfmeg::Finding::Severity::warning));
  }
  manager.setAllBackup();
  m_currentData->setTrig2Record();
}

int CCtfReader4Markers::readClassFile(const CString& path) {
  return readSideFile(getFilePathDir(path) + L"ClassFile.cls", {}, [this](const CFile& file) {
    CMarkerManagerzk& manager = *m_currentData->getClassManager();
    HostNotices notices;
    return ctfmeg::readClasses(file.opened(), m_rules, notices, [&](const ctfmeg::TrialClass& read) {
      return addClass(read, file.GetFilePath(), manager);
    });
  });
}

// Information file.

int CCtfReader5Infods::readInfoDsFile(const CString& path) {
  return readSideFile(path, {}, [this](const CFile& file) {
    DatasetInformation& information = m_currentData->getMEGRecordInfozk()->information;
    ctfmeg::Information read{.entries = {}, .text = toUtf8(information.text)};
    HostNotices notices;
    ctfmeg::InformationOutcome outcome;
    try {
      outcome = ctfmeg::readInformation(file.opened(), m_rules, notices, read);
    } catch (...) {  // what was read stays, whatever passes
      store(read, information);
      throw;
    }
    if (!outcome.begins) return false;
    store(read, information);
    if (outcome.beganAnew) m_infodsText = {};
    m_infodsText += information.text;
    return outcome.complete;
  });
}

// Positions.

int CCtfReader6Positions::readEegFile(const CString& path) {
  releaseElectrodes();
  return readSideFile(path, {.readError = L"Reading EEG file error!"}, [&](const CFile& file) {
    HostNotices notices;
    ctfmeg::readElectrodes(file.opened(), m_rules, notices, [&](const ctfmeg::Electrode& read) {
      auto electrode = toDataModel(read);
      if (!electrode) return reportMemory(path, kOptional);
      m_electrodes.SetAtGrow(m_electrodes.GetSize(), electrode.get());
      electrode.release();  // NOLINT(bugprone-unused-return-value): the list owns it now
    });
    return 1;
  });
}

int CCtfReader6Positions::readPosFile(const CString& path) {
  return readSideFile(path, {}, [this](const CFile& file) {
    CMEGDatazk& data = *m_currentData;
    const auto keepPoint = [&](const ctfmeg::DigitisedPoint& point) {
      const auto& [x, y, z] = point.positionCm;
      data.setEEG_electrodesPositionPohemus(point.number, x, y, z, 0, true);
    };
    const auto keepFiducial = [&](const ctfmeg::DigitisedFiducial& fiducial) {
      data.digitisedFiducials.push_back(toDataModel(fiducial));
    };
    HostNotices notices;
    return ctfmeg::readDigitised(file.opened(), m_rules, notices, keepPoint, keepFiducial);
  });
}

int CCtfReader6Positions::readVirtualChannels(const CString& path) {
  constexpr SideFileManner kManner{.readError = L"Reading virtual channel error!", .flags = CFile::modeRead};
  return readSideFile(getFilePathDir(path) + L"VirtualChannels", kManner, [this](const CFile& file) {
    HostNotices notices;
    const auto read = ctfmeg::readVirtualChannels(file.opened(), m_rules, notices);
    if (!read.empty()) m_currentData->virtualChannels.clear();
    for (const ctfmeg::VirtualChannel& channel : read)
      m_currentData->virtualChannels.push_back(toDataModel(channel));
    return 0;
  });
}

// Bad channels and segments.

int CCtfReader7Bad::readBadChannels(const CString& path) {
  return readSideFile(getFilePathDir(path) + L"BadChannels", {}, [this](const CFile& file) {
    HostNotices notices;
    const auto isChannel = [&](const CString& name) {
      const auto& channels = m_currentData->channels();
      return std::any_of(channels.begin(), channels.end(), [&](const ChannelInfo& channel) {
        return channel.name == name || channel.shortName == name;
      });
    };
    return ctfmeg::readBadChannels(file.opened(), m_rules, notices, [&](const std::string& name, bool cut) {
      const CString channel = hostText(name);
      return (!cut || isChannel(channel)) &&
             m_currentData->setChannelGood4Name(channel, false, -1, true) != 0;
    });
  });
}

int CCtfReader7Bad::readBadSegments(const CString& path) {
  return readSideFile(getFilePathDir(path) + L"bad.segments", {}, [this](const CFile& file) {
    HostNotices notices;
    return ctfmeg::readBadSegments(file.opened(), m_rules, notices, [&](const ctfmeg::BadSegment& segment) {
      m_currentData->addTrialBadSegment(segment.trial, segment.startMs, segment.endMs);
    });
  });
}
