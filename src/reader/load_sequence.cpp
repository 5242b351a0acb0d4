#include <memory>
#include <new>

#include "framework/user_interface.h"
#include "reader/ctf_dataset_reader.h"
#include "util/guarded.h"

namespace {

constexpr const wchar_t* kFileError = L"CTF File open error!";

void reportResource(const CString& path, const char* code, const wchar_t* text,
                    Finding::Severity severity = Finding::Severity::error) {
  const CString file = CBasicReadUnix2Window::getFilePathBasic(path) + L"res4";
  reportFinding({.severity = severity, .code = code, .file = file, .text = text});
}

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
  return checkCounts(path);
}

CCtfDatasetReader::Info CCtfDatasetReader::checkCounts(const CString& path) const {
  const CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  if (info.numTrials < 1 || info.numChannels < 1) {
    reportResource(path, "res4.counts", L"says that there are no trials");
    return Info::failed;
  }
  if (info.samplesPerTrial < 1)
    reportResource(path, "res4.counts", L"says that a trial has no samples", Finding::Severity::warning);
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
  reportResource(path, "res4.counts", L"promises more samples than can be counted");
  return Info::failed;
}

CCtfDatasetReader::Info CCtfDatasetReader::loadInfo(const CString& path, CMEGDatazk* data) {
  return guarded(kFileError, path, Info::failed, [&] {
    Info info = readResource(path, data);
    if (info != Info::complete) return info;
    info = handOverChannels(path, data->getMEGRecordInfozk()->numTrials);
    if (info == Info::complete) releaseSensorLists();
    return info;
  });
}

int CCtfDatasetReader::checkDataset(const CString& path, CMEGDatazk* data) {
  const Info info = readResource(path, data);
  if (info != Info::complete) return info == Info::countsDiffer;
  return handOverChannels(path, 1) == Info::complete;
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
    reportFinding({.code = "memory", .file = path, .text = L"needs more memory than there is"});
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
