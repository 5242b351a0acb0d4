#include <algorithm>
#include <limits>
#include <memory>
#include <new>

#include "base/finding_codes.h"
#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/guarded.h"

#include <megreader/framework/user_interface.h>

using ctfmeg::Code;
using ctfmeg::wordOf;

namespace {

constexpr const wchar_t* kFileError = L"CTF File open error!";

/// That the resource file's counts can't be used.
void reportCounts(const CString& path, const wchar_t* text,
                  Finding::Severity severity = Finding::Severity::error) {
  const CString file = CBasicReadUnix2Window::getFilePathBasic(path) + L"res4";
  reportFinding({.severity = severity, .code = wordOf(Code::res4Counts), .file = file, .text = text});
}

template <class Element>
void deleteAll(CPtrArray& list) {
  for (int i = 0; i < list.GetSize(); ++i)
    delete static_cast<Element*>(list.GetAt(i));
  list.SetSize(0);
}

}  // namespace

int failWithoutTarget(const CString& path) {
  reportFinding(
      {.code = wordOf(Code::callArgument), .file = path, .text = L"there is nothing to read it into"});
  return 0;
}

CCtfReader1Samples::~CCtfReader1Samples() { releaseSensorLists(); }

void CCtfReader1Samples::releaseSensors() { deleteAll<CMEGSensorzk>(m_sensors); }

void CCtfReader1Samples::releaseElectrodes() { deleteAll<CEEGelectrodezk>(m_electrodes); }

int CCtfReader1Samples::releaseSensorLists() {
  releaseSensors();
  releaseElectrodes();
  m_channelNames.SetSize(0);
  m_channelShortNames.SetSize(0);
  return 1;
}

CCtfDatasetReader::Info CCtfDatasetReader::readResource(const CString& path, CMEGDatazk* data) {
  if (data == nullptr) {
    failWithoutTarget(path);
    return Info::failed;
  }
  m_currentData = data;
  data->name = getFileName(path);
  if (!readRes4(getFilePathBasic(path))) return Info::failed;
  readEegFile(getFilePathBasic(path) + L"eeg");
  return checkCounts(path);
}

CCtfDatasetReader::Info CCtfDatasetReader::checkCounts(const CString& path) const {
  const CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  if (info.numTrials < 1 || info.numChannels < 1) {
    reportCounts(path, L"says that there are no trials");
    return Info::failed;
  }
  if (info.samplesPerTrial < 1)
    reportCounts(path, L"says that a trial has no samples", Finding::Severity::warning);
  if (!sensorsMatchChannels()) return Info::countsDiffer;
  if (m_channelNames.GetSize() != info.numChannels || m_channelShortNames.GetSize() != info.numChannels) {
    AfxMessageBox(L"Error in reading channel name");
    return Info::countsDiffer;
  }
  return Info::complete;
}

CCtfDatasetReader::Info CCtfDatasetReader::handOverChannels(const CString& path, int trials) {
  const std::int32_t channels = m_currentData->getMEGRecordInfozk()->numChannels;
  if (m_currentData->importTrialChannels(trials, channels, &m_sensors, &m_electrodes, &m_channelNames,
                                         &m_channelShortNames, m_document))
    return Info::complete;
  reportCounts(path, L"promises more samples than can be counted");
  return Info::failed;
}

CCtfDatasetReader::Info CCtfDatasetReader::loadInfo(const CString& path, CMEGDatazk* data,
                                                    const CMarkerDatazk* marker) {
  return guarded(kFileError, path, Info::failed, [&] {
    Info info = readResource(path, data);
    if (info != Info::complete) return info;
    const int trials = marker != nullptr ? static_cast<int>(marker->getTotalTrgMrkPts())
                                         : data->getMEGRecordInfozk()->numTrials;
    info = handOverChannels(path, trials);
    if (info != Info::complete) return info;
    if (marker != nullptr)
      data->getTrigManager()->copyNewTrigType(marker, false);
    else
      readMarkers(getFilePathBasic(path));
    releaseSensorLists();
    readSideFiles(path, SplitRoute::no);
    return info;
  });
}

void CCtfDatasetReader::readSideFiles(const CString& path, SplitRoute split) {
  const CString base = getFilePathBasic(path);
  if (!readHeadCoilsToDataset(base)) readHeadCoilsToLocalization(base);
  readInfoDsFile(base + L"infods");
  if (split == SplitRoute::yes) readMarkers(base);
  readClassFile(base);
  readBadSegments(base);
  readBadChannels(base);
  readPosFile(base + L"pos");
  readVirtualChannels(base);
}

int CCtfDatasetReader::checkDataset(const CString& path, CMEGDatazk* data) {
  const Info info = readResource(path, data);
  if (info != Info::complete) return info == Info::countsDiffer;
  if (handOverChannels(path, 1) != Info::complete) return 0;
  return readMarkers(getFilePathBasic(path));
}

int CCtfDatasetReader::readDatasetInfo(const CString& path, CMEGDatazk* data, const CMarkerDatazk* marker) {
  return loadInfo(path, data, marker) != Info::failed;
}

bool CCtfDatasetReader::appendData(const CString& path, CPtrArray* array) {
  if (array == nullptr) return failWithoutTarget(path) != 0;
  std::unique_ptr<CMEGDatazk> data(new (std::nothrow) CMEGDatazk);
  if (!data) {
    reportFinding({.code = wordOf(Code::memory), .file = path, .text = L"needs more memory than there is"});
    AfxMessageBox(L"Out of  memory!");
    return false;
  }
  m_currentData = data.get();
  array->SetAtGrow(array->GetSize(), data.get());
  data.release();  // NOLINT(bugprone-unused-return-value): the host's array owns it now
  return true;
}

int CCtfDatasetReader::readDatasetToArray(const CString& path, CPtrArray* array, CDocument* document,
                                          const CMarkerDatazk* marker) {
  if (array != nullptr) m_document = document;
  if (!appendData(path, array)) return 0;
  const Info info = loadInfo(path, m_currentData, marker);
  if (info != Info::complete) return info == Info::countsDiffer;
  return (marker != nullptr ? readCtfDataTrigger(path, marker) : readCtfDataT(path)) != 0;
}

template <class Import>
int CCtfDatasetReader::readReducedToArray(const CString& path, CPtrArray* array, Import import) {
  return guarded(kFileError, path, 0, [&] {
    if (!appendData(path, array)) return 0;
    const Info info = loadInfo(path, m_currentData, nullptr);
    if (info != Info::complete) return info == Info::countsDiffer ? 1 : 0;
    return import() != 0 ? 1 : 0;
  });
}

int CCtfDatasetReader::readResampledToArray(const CString& path, CPtrArray* array, int factor) {
  return readReducedToArray(path, array, [&] { return readCtfDataResample(path, factor); });
}

int CCtfDatasetReader::readSelectSampleToArray(const CString& path, CPtrArray* array, int first, int last) {
  return readReducedToArray(path, array, [&] { return readCtfDataSelected(path, first, last); });
}

int CCtfDatasetReader::readTrialSplitToArray(const CString& path, CPtrArray* array, int splitCount,
                                             CDocument* document) {
  return guarded(kFileError, path, 0, [&] {
    if (splitCount < 2) return readDatasetToArray(path, array, document, nullptr);
    if (!appendData(path, array)) return 0;
    Info info = readResource(path, m_currentData);
    if (info == Info::complete) info = handOverChannels(path, splitTrials(splitCount));
    if (info != Info::complete) return info == Info::countsDiffer ? 1 : 0;
    releaseSensorLists();
    readSideFiles(path, SplitRoute::yes);
    return readCtfDataTsplit(path, splitCount) != 0 ? 1 : 0;
  });
}

int CCtfDatasetReader::readPromptedToArray(const CString& path, CPtrArray* array, CDocument* document) {
  if (array != nullptr) m_document = document;
  return readReducedToArray(path, array, [&] { return readWithResamplePrompt(path); });
}

int CCtfDatasetReader::splitTrials(int splitCount) const {
  const std::int64_t trials = std::int64_t{m_currentData->getMEGRecordInfozk()->numTrials} * splitCount;
  return static_cast<int>(std::min<std::int64_t>(trials, std::numeric_limits<int>::max()));
}
