#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include <megreader/datamodel/fiducials.h>
#include <megreader/datamodel/imports.h>
#include <megreader/datamodel/markers.h>
#include <megreader/datamodel/owned_list.h>
#include <megreader/datamodel/record_info.h>
#include <megreader/datamodel/sensors.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// A channel that is a weighted sum of others.
struct VirtualChannel {
  /// One of the channels it is made of.
  struct Reference {
    CString channel;
    double weight = 0.0;
  };

  CString name;
  CString unit;
  std::vector<Reference> references;
};

class TrialStorage;

/// One channel of a dataset, in file order.
struct ChannelInfo {
  CString name;       ///< full name, such as "MLC11-2805"
  CString shortName;  ///< the part before its first "-"
  CMEGSensorzk sensor;
  bool good = true;  ///< false: not to be used
};

/// The data object's base: record information, channels and the samples of its trials. Data objects can be
/// copied: copies are deep, samples included. Samples that live in a temporary file are copied into memory or
/// into a file of the copy's own, by the limit that they were read with; where there is no room, copying
/// throws std::bad_alloc.
class MEGREADER_API CMEGData {
 public:
  CMEGData();
  CMEGData(const CMEGData& other);
  CMEGData& operator=(const CMEGData& other);
  virtual ~CMEGData();

  CMEGRecordInfozkProzk* getMEGRecordInfozk() { return &m_recordInfo; }
  const CMEGRecordInfozkProzk* getMEGRecordInfozk() const { return &m_recordInfo; }

  /// Makes `trial` the current one. Returns 1, or 0 (the current one stays) when no such trial is stored.
  int openTrial(int trial);
  int currentTrial() const { return m_currentTrial; }  ///< -1 when none was opened

  /// Raw samples of a trial, storedChannels() x storedSamples() in host order; null when the trial holds
  /// none. Owned by the data object and valid until the next import.
  const std::int32_t* trialSamples(int trial) const;
  /// The sums of a trial that holds sums instead: a trial is raw or summed, never both.
  const double* trialSums(int trial) const;
  TrialOrigin trialOrigin(int trial) const;
  /// Shape of what is stored: trial numbers run from 0 to `trialSlots()` - 1, not all need hold samples.
  int trialSlots() const;
  int numStoredTrials() const;
  int storedChannels() const;
  std::int64_t storedSamples() const;

  const std::vector<ChannelInfo>& channels() const { return m_channels; }
  const std::vector<CEEGelectrodezk>& electrodes() const { return m_electrodes; }

  CString name;  ///< the dataset's name: the file name without directory and extension

 protected:
  /// Channel numbers by name; several channels may have one name.
  using ChannelIndex = std::unordered_multimap<std::wstring, std::size_t>;

  CMEGRecordInfozkProzk m_recordInfo;
  std::vector<ChannelInfo> m_channels;
  ChannelIndex m_byName, m_byShortName;  // empty until they are asked for, and after channels were imported
  std::vector<CEEGelectrodezk> m_electrodes;
  OwnedPointer<TrialStorage> m_trials;  // null before the first import: making a data object takes no memory
  int m_currentTrial = -1;

 private:
  const TrialStorage& storage() const;
};

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

/// A span of a trial that is not to be used.
struct BadSegment {
  std::int32_t trial = 0;  ///< number of the trial in the file, as given
  double startMs = 0.0;    ///< milliseconds from the trial's start
  double endMs = 0.0;
};

/// The layer that knows markers, classes of trials and bad segments.
class MEGREADER_API CMEGData6Classify : public CMEGData2Process {
 public:
  /// The markers (triggers) of the dataset; never null.
  CMarkerManagerzk* getTrigManager() { return &m_triggers; }
  const CMarkerManagerzk* getTrigManager() const { return &m_triggers; }

  /// The classes of trials; never null.
  CMarkerManagerzk* getClassManager() { return &m_classes; }
  const CMarkerManagerzk* getClassManager() const { return &m_classes; }

  /// Lists the trigger manager's markers in the record information, in the place of an earlier list.
  /// Returns 1.
  int setTrig2Record();

  /// Times in milliseconds from the trial's start. Returns 1.
  int addTrialBadSegment(int trial, double startMs, double endMs);
  const std::vector<BadSegment>& badSegments() const { return m_badSegments; }

  std::vector<VirtualChannel> virtualChannels;  ///< in file order; empty by host rules

 private:
  CMarkerManagerzk m_triggers;
  CMarkerManagerzk m_classes;
  std::vector<BadSegment> m_badSegments;
};
