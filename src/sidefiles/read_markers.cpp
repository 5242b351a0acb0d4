#include <megreader/framework/file_error.h>
#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/markers.h"
#include "sidefiles/side_file.h"

// MarkerFile.mrk: the dataset's path, the number of markers, then a block for each. MarkerFile.mrk.bak is of
// the same form, and is read when the first file yields no marker.

namespace {

constexpr SideFileManner kMarkerManner{.openError = L"Can't open file %s, error = %u\n"};

CString markerFileOf(const CString& path) {
  return CBasicReadUnix2Window::getFilePathDir(path) + L"MarkerFile.mrk";
}

}  // namespace

int CCtfReader4Markers::readMarkers(const CString& path) {
  readMarkerFileAt(markerFileOf(path));
  if (m_currentData->getTrigManager()->getTotalMarkzk() < 1) readMarkerFileAt(markerFileOf(path) + L".bak");
  return 1;
}

int CCtfReader4Markers::readMarkerFileAt(const CString& file) {
  return readSideLines(file, kMarkerManner, m_rules, [this](LineSource& lines) {
    parseMarkerFile(lines);
    return 1;
  });
}

int CCtfReader4Markers::loadMarkerFile(const CString& path) {
  const auto load = [this](const CString& file) {
    return openSideFile(file, kMarkerManner, [this](CFile& opened) {
      LineSource lines(opened, m_rules);
      parseMarkerFile(lines);
      return 1;
    });
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

void CCtfReader4Markers::parseMarkerFile(LineSource& lines) {
  if (m_currentData == nullptr) return;
  try {
    readMarkerBlocks(lines);
  } catch (CFileException* error) {  // what was read stays, and nothing is shown
    reportFinding(findingOf(*error, kOptional));
    error->Delete();
  }
  m_currentData->getTrigManager()->setAllBackup();
  m_currentData->setTrig2Record();
}

void CCtfReader4Markers::readMarkerBlocks(LineSource& lines) {
  const CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  const TrialTiming timing{info.sampleRate, info.preTrigSamples};
  CMarkerManagerzk& manager = *m_currentData->getTrigManager();
  std::int32_t count = 0;  // blocks are read to the end of the file, not counted down
  bool surplusTold = false;
  CString line;
  while (readBetweenBlocks(lines, kMarkerBlock, line, count) == Found::here) {
    if (line.Find(kMarkerBlock.keywords[kNextBlock]) >= 0) {
      auto marker = parseOneMarker(lines, timing, m_rules);
      if (!marker) return;
      manager.addMarker(std::move(marker));
      surplusTold = false;
    } else if (!surplusTold && parseMarkerSample(line, 1.0, timing, m_rules)) {
      lines.passOver("marker.count", L"goes beyond the number of samples that the marker says it has");
      surplusTold = true;
    }
  }
  if (count != manager.getTotalMarkzk())
    lines.note("marker.count", L"holds another number of markers than it says");
}
