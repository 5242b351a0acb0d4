#pragma once

#include <cstdint>
#include <vector>

#include <megreader/datamodel/meg_data_localization.h>

/// One position that was digitised on the head: CTF head axes, centimetres, as in the file.
struct DigitisedPoint {
  std::int32_t number = 0;
  double x = 0.0, y = 0.0, z = 0.0;
};

/// A fiducial among the digitised positions, by its label in the file.
struct DigitisedFiducial {
  CString label;
  double x = 0.0, y = 0.0, z = 0.0;
};

/// The layer that judges channels and knows digitised positions.
class MEGREADER_API CMEGData2Process : public CMEGData1Localization01Meg {
 public:
  /// Marks the channel of that full name, else the channels of that short name, as good or bad, and keeps the
  /// name of a bad one. Returns 1, or 0 when no channel is called so. The last two arguments have no meaning.
  int setChannelGood4Name(const CString& channelName, bool good, int number, bool flag);

  /// Names that were marked bad, as given, whether a channel is called so or not.
  const std::vector<CString>& badChannelNames() const { return m_badChannelNames; }

  /// Keeps a digitised position, in CTF head axes and centimetres. Returns 1. The last two arguments have no
  /// meaning.
  int setEEG_electrodesPositionPohemus(int number, double x, double y, double z, int kind, bool flag);
  const std::vector<DigitisedPoint>& digitisedPoints() const { return m_digitisedPoints; }

  std::vector<DigitisedFiducial> digitisedFiducials;  ///< in file order; empty by host rules

 private:
  std::vector<CString> m_badChannelNames;
  std::vector<DigitisedPoint> m_digitisedPoints;
};
