#include <memory>
#include <new>

#include "framework/user_interface.h"
#include "reader/ctf_dataset_reader.h"
#include "util/guarded.h"

namespace {

constexpr const wchar_t* kFileError = L"CTF File open error!";

}  // namespace

CCtfDatasetReader::Info CCtfDatasetReader::readResource(const CString& path, CMEGDatazk* data) {
  if (data == nullptr) {
    reportFinding(
        {.code = "call.argument", .file = path, .text = L"there is no data object to read it into"});
    return Info::failed;
  }
  m_currentData = data;
  data->name = getFileName(path);
  if (!readRes4(getFilePathBasic(path))) return Info::failed;
  return checkCounts();
}

CCtfDatasetReader::Info CCtfDatasetReader::checkCounts() const {
  const CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  if (info.numTrials < 1 || info.numChannels < 1) {
    reportFinding(
        {.code = "res4.counts", .file = {}, .text = L"the resource file says that there are no trials"});
    return Info::failed;
  }
  if (info.samplesPerTrial < 1)
    reportFinding({.severity = Finding::Severity::warning,
                   .code = "res4.counts",
                   .file = {},
                   .text = L"the resource file says that a trial has no samples"});
  if (!sensorsMatchChannels()) return Info::countsDiffer;
  if (m_channelNames.GetSize() != info.numChannels || m_channelShortNames.GetSize() != info.numChannels) {
    AfxMessageBox(L"Error in reading channel name");
    return Info::countsDiffer;
  }
  return Info::complete;
}

CCtfDatasetReader::Info CCtfDatasetReader::handOverChannels(int trials) {
  const std::int32_t channels = m_currentData->getMEGRecordInfozk()->numChannels;
  if (m_currentData->importTrialChannels(trials, channels, &m_sensors, &m_electrodes, &m_channelNames,
                                         &m_channelShortNames, m_document))
    return Info::complete;
  reportFinding(
      {.code = "res4.counts", .file = {}, .text = L"the resource file gives counts that can't be held"});
  return Info::failed;
}

CCtfDatasetReader::Info CCtfDatasetReader::loadInfo(const CString& path, CMEGDatazk* data) {
  return guarded(kFileError, Info::failed, [&] {
    Info info = readResource(path, data);
    if (info != Info::complete) return info;
    info = handOverChannels(data->getMEGRecordInfozk()->numTrials);
    if (info == Info::complete) releaseSensorLists();
    return info;
  });
}

int CCtfDatasetReader::checkDataset(const CString& path, CMEGDatazk* data) {
  const Info info = readResource(path, data);
  if (info != Info::complete) return info == Info::countsDiffer;
  return handOverChannels(1) == Info::complete;
}

int CCtfDatasetReader::readDatasetInfo(const CString& path, CMEGDatazk* data) {
  return loadInfo(path, data) != Info::failed;
}

int CCtfDatasetReader::readDatasetToArray(const CString& path, CPtrArray* array, CDocument* document) {
  if (array == nullptr) {
    reportFinding({.code = "call.argument", .file = path, .text = L"there is no array to read it into"});
    return 0;
  }
  m_document = document;
  std::unique_ptr<CMEGDatazk> data(new (std::nothrow) CMEGDatazk);
  if (!data) {
    AfxMessageBox(L"Out of  memory!");
    return 0;
  }
  m_currentData = data.get();
  array->SetAtGrow(array->GetSize(), data.get());
  data.release();  // NOLINT(bugprone-unused-return-value): the host's array owns it now

  const Info info = loadInfo(path, m_currentData);
  if (info != Info::complete) return info == Info::countsDiffer;
  return readCtfDataT(path) != 0;
}
