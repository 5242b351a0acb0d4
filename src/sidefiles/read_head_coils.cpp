#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/head_coils.h"
#include "sidefiles/side_file.h"

namespace {

constexpr SideFileManner kHeadCoilManner{.readError = L"Read head position error!"};
constexpr int kMostSets = 3;

/// Finds the layout and goes back to the start. Nothing to be read when it can't be recognised.
HeadCoilLayout layoutOf(CFile& file, const ReadingRules& rules) {
  LineSource lines(file, rules);
  const HeadCoilLayout layout = probeHeadCoilLayout(lines, rules);
  if (layout < fiveCoils)
    lines.note("coil.layout", L"does not begin with sets of three or of five head coils; not read");
  file.Seek(0, CFile::begin);
  return layout;
}

}  // namespace

int CCtfReader3HeadCoils::readHeadCoilsToLocalization(const CString& prefix) {
  const CString path = prefix + L"hc";
  if (!fileExists(path)) return 0;
  CHeadLocalizationzk& location = *m_currentData->getHeadLocationDataset();
  m_headLocation = &location.fiducials();
  m_headLocation->clear();
  return readSideFile(path, kHeadCoilManner, [&](CFile& file) {
    const HeadCoilLayout layout = layoutOf(file, m_rules);
    if (layout < fiveCoils) return 1;
    LineSource lines(file, m_rules);
    for (int i = 0; i < kMostSets; ++i) {
      auto set = readHeadCoilBlock(lines, layout, m_rules);
      if (!set) break;
      m_headLocation->push_back(std::move(set));
    }
    location.initSensorFiducial2HeadCenter();
    return 1;
  });
}

int CCtfReader3HeadCoils::readHeadCoilsToDataset(const CString& prefix) {
  return readSideFile(prefix + L"hc", kHeadCoilManner, [this](CFile& file) {
    const bool everySet = m_rules.blocksWhole;
    if (!everySet && layoutOf(file, m_rules) < fiveCoils) return 1;
    LineSource lines(file, m_rules);
    const int sets = everySet ? readHeadCoilSets(lines, *m_currentData, m_rules) : readHeadCoilBlocks(lines);
    if (sets == 0) lines.note("coil.none", L"holds no head-coil position");
    m_currentData->setFidHeadMeasure2work();
    m_currentData->fiducialSource = 1;
    m_currentData->fiducialSetCount = kMostSets;
    return sets;
  });
}

int CCtfReader3HeadCoils::readHeadCoilBlocks(LineSource& lines) {
  // A line that names no set is an attempt, too: hosts get what is read until then.
  constexpr int kMostAttempts = 100;
  int blocks = 0;
  for (int attempt = 0; attempt < kMostAttempts && blocks < kMostSets; ++attempt)
    blocks += readHeadCoilBlockToDataset(lines, *m_currentData, m_rules);
  return blocks;
}
