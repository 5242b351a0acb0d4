#pragma once

#include <cstdint>

#include <megreader/datamodel/head_localization.h>
#include <megreader/datamodel/meg_data.h>

/// The layer that knows where the head was. Sets are the data object's own; none is ever null, and one that
/// was not read has no valid point.
class MEGREADER_API CMEGData1Localization01Meg : public CMEGData {
 public:
  /// Positions of the coils in the dewar: as the system assumes them, and as measured.
  CFiducialzk* getFidDewarStd() { return &m_dewarStandard; }
  CFiducialzk* getFidDewarMsr() { return &m_dewarMeasured; }
  /// Positions as measured, in the head frame.
  CFiducialzk* getFidHeadMsr() { return &m_headMeasured; }
  const CFiducialzk* getFidDewarStd() const { return &m_dewarStandard; }
  const CFiducialzk* getFidDewarMsr() const { return &m_dewarMeasured; }
  const CFiducialzk* getFidHeadMsr() const { return &m_headMeasured; }

  /// Makes a copy of the measured head set the working set. Returns 1.
  int setFidHeadMeasure2work();
  /// The set that analysis works with.
  const CFiducialzk* getFidWork() const { return &m_work; }

  CHeadLocalizationzk* getHeadLocationDataset() { return &m_headLocation; }
  const CHeadLocalizationzk* getHeadLocationDataset() const { return &m_headLocation; }

  std::int32_t fiducialSource = 0;    ///< 1 when the sets come from a head-coil file
  std::int32_t fiducialSetCount = 0;  ///< sets that such a file has room for: 3 when one was read

 private:
  CFiducialzk m_dewarStandard, m_dewarMeasured, m_headMeasured, m_work;
  CHeadLocalizationzk m_headLocation;
};
