#include <megreader/reader/meg_reader_face.h>

#include <atomic>
#include <new>
#include <utility>

#include "base/finding_codes.h"
#include "hosts/reader/ctf_dataset_reader.h"

#include <megreader/framework/cdialog.h>
#include <megreader/framework/native_path.h>
#include <megreader/framework/user_interface.h>

namespace {

constexpr const wchar_t* kFilter =
    L"MEG Files(*.meg;*.meg4;*.res4;*.eeg;*.infods)|*.meg;*.meg4;*.res4;*.eeg;*.infods|CTF MEG File "
    L"(*.meg4)|*.meg4|"
    L"CTF Dataset (*.ds)|*.ds|CTF MEG Data (*.meg4)|*.meg4|All Files(*.*)|*.*||";

/// Without its text where there is no memory for that either.
void reportNoReader() {
  for (const wchar_t* text : {L"there is not enough memory for a reader", L""})
    try {
      reportFinding({.code = ctfmeg::wordOf(ctfmeg::Code::memory), .file = {}, .text = text});
      return;
    } catch (const std::bad_alloc&) {  // tried again, or there is no way to say so
    }
}

void openFirstTrials(const CPtrArray* array) {
  for (int i = 0; array != nullptr && i < array->GetSize(); ++i)
    if (auto* data = static_cast<CMEGDatazk*>(array->GetAt(i))) data->openTrial(0);
}

}  // namespace

/// The reader and the number of facades that have it, in one allocation: a host relies on none that throws.
struct CMEGReaderFace::SharedReader {
  explicit SharedReader(const ReadingRules& rules) : reader(rules) {}

  CCtfDatasetReader reader;
  std::atomic<int> facades{1};
};

CMEGReaderFace::CMEGReaderFace(const CMEGReaderFace& other)
    : m_reader(other.m_reader),
      m_rules(other.m_rules),
      m_sampleMemory(other.m_sampleMemory),
      m_readingThreads(other.m_readingThreads) {
  if (m_reader != nullptr) ++m_reader->facades;
}

CMEGReaderFace& CMEGReaderFace::operator=(const CMEGReaderFace& other) {
  CMEGReaderFace copy(other);
  std::swap(m_reader, copy.m_reader);
  m_rules = copy.m_rules;
  std::swap(m_sampleMemory, copy.m_sampleMemory);
  m_readingThreads = copy.m_readingThreads;
  return *this;
}

void CMEGReaderFace::releaseReader() {
  SharedReader* const released = std::exchange(m_reader, nullptr);
  if (released != nullptr && --released->facades == 0) delete released;
}

CMEGReaderFace::~CMEGReaderFace() { releaseReader(); }
CMEGReaderFacezk::~CMEGReaderFacezk() = default;

void CMEGReaderFace::setReadingRules(const ReadingRules& rules) {
  m_rules = rules;
  if (m_reader != nullptr) m_reader->reader.setReadingRules(rules);
}

void CMEGReaderFace::setSampleMemory(const SampleMemory& memory) {
  m_sampleMemory = memory;
  if (m_reader != nullptr) m_reader->reader.setSampleMemory(memory);
}

void CMEGReaderFace::setReadingThreads(int threads) {
  m_readingThreads = threads;
  if (m_reader != nullptr) m_reader->reader.setReadingThreads(threads);
}

CCtfDatasetReader* CMEGReaderFace::reader() {
  if (m_reader != nullptr) return &m_reader->reader;
  try {
    m_reader = new (std::nothrow) SharedReader(m_rules);
    if (m_reader != nullptr) {
      m_reader->reader.setReadingThreads(m_readingThreads);
      m_reader->reader.setSampleMemory(m_sampleMemory);
      return &m_reader->reader;
    }
  } catch (const std::bad_alloc&) {
    releaseReader();  // there is no memory for the name of the folder that samples go to
  }
  reportNoReader();
  return nullptr;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): hosts know the signature
int CMEGReaderFace::checkCtfFileFormat(CString path) {
  const CString type = path.Right(4).MakeLower();
  for (const wchar_t* known : {L"meg4", L"res4", L".eeg", L"fods"})
    if (type == known) return 1;
  return AfxMessageBox(L"The file does not like CTF format! Would you like to continue?",
                       MessageStyle::yesNo) == MessageAnswer::yes;
}

int CMEGReaderFace::checkCTFMEGData(CString& path, CMEGDatazk* data) {
  if (data == nullptr) return failWithoutTarget(path);
  if (!checkCtfFileFormat(path)) return 0;
  CCtfDatasetReader* current = reader();
  return current != nullptr && current->checkDataset(toWindowsPath(path), data);
}

int CMEGReaderFace::readCTFMEGDataInfo(CString& path, CMEGDatazk* data) {
  if (data == nullptr) return failWithoutTarget(path);
  if (!checkCtfFileFormat(path)) return 0;
  CCtfDatasetReader* current = reader();
  return current != nullptr && current->readDatasetInfo(toWindowsPath(path), data, nullptr);
}

template <class Read>
int CMEGReaderFacezk::readIntoArray(const CString& path, CPtrArray* array, Read read) {
  if (!checkCtfFileFormat(path)) return 0;
  CCtfDatasetReader* current = reader();
  if (current == nullptr) return 0;
  const int before = array != nullptr ? array->GetSize() : 0;
  if (read(*current, toWindowsPath(path))) {
    openFirstTrials(array);
    return 1;
  }
  if (array != nullptr && array->GetSize() > before) {
    auto* appended = static_cast<CMEGDatazk*>(array->GetAt(before));
    array->RemoveAt(before);
    delete appended;
  }
  releaseReader();
  return 0;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): hosts know the signature
int CMEGReaderFacezk::readCTFMEGData2HdPa(CString path, CPtrArray* array, CDocument* document,
                                          CMarkerDatazk* marker) {
  return readIntoArray(path, array, [&](CCtfDatasetReader& current, const CString& file) {
    return current.readDatasetToArray(file, array, document, marker);
  });
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): as above
int CMEGReaderFacezk::readWithResamplePrompt(CString path, CPtrArray* array, CDocument* document) {
  return readIntoArray(path, array, [&](CCtfDatasetReader& current, const CString& file) {
    return current.readPromptedToArray(file, array, document);
  });
}

int CMEGReaderFacezk::openReadCTFMEGData2HdPa(CPtrArray* array, CDocument* document, CMarkerDatazk* marker) {
  CFileDialog dialog(kFilter);
  if (dialog.DoModal() != CFileDialog::kOk) return 0;
  return readCTFMEGData2HdPa(dialog.GetPathName(), array, document, marker);
}

template <class Read>
int CMEGReaderFacezk::readChosenFile(CPtrArray* array, Read read) {
  CFileDialog dialog(kFilter);
  if (dialog.DoModal() != CFileDialog::kOk || !checkCtfFileFormat(dialog.GetPathName())) return 0;
  CCtfDatasetReader* current = reader();
  if (current == nullptr) return 0;
  if (!read(*current, toWindowsPath(dialog.GetPathName()))) {
    releaseReader();
    return 0;
  }
  openFirstTrials(array);
  return 1;
}

int CMEGReaderFacezk::readResampling(CPtrArray* array, int factor, CDocument* /*document*/) {
  return readChosenFile(array, [&](CCtfDatasetReader& current, const CString& path) {
    return current.readResampledToArray(path, array, factor);
  });
}

int CMEGReaderFacezk::readSelectSample(CPtrArray* array, int first, int second, CDocument* /*document*/) {
  return readChosenFile(array, [&](CCtfDatasetReader& current, const CString& path) {
    return current.readSelectSampleToArray(path, array, first, second);
  });
}

int CMEGReaderFacezk::readTrialSplit(CPtrArray* array, int splitCount, CDocument* document) {
  return readChosenFile(array, [&](CCtfDatasetReader& current, const CString& path) {
    return current.readTrialSplitToArray(path, array, splitCount, document);
  });
}
