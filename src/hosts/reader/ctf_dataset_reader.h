#pragma once

#include <cstdint>
#include <optional>

#include <megreader/datamodel/imports.h>
#include <megreader/datamodel/meg_datazk.h>
#include <megreader/framework/cfile.h>
#include <megreader/framework/collections.h>
#include <megreader/reader/basic_read_unix2window.h>
#include <megreader/reader/reading_rules.h>

// The reader object: a chain of layers, base first, one for each family of files. Every reader is an
// operation of it and fills `m_currentData`. Operations return 1 for success and 0 for failure unless they
// say otherwise; `path` is any file of the dataset, `prefix` the path up to and including the dot before the
// extension. The base, CBasicReadUnix2Windowzk, holds `m_currentData` and `m_document`.

/// Reports that a call on `path` came without an object to fill; returns 0, the result of that call.
int failWithoutTarget(const CString& path);

/// Sample files.
class CCtfReader1Samples : public CBasicReadUnix2Windowzk {
 public:
  explicit CCtfReader1Samples(const ReadingRules& rules) : m_rules(rules) {}
  CCtfReader1Samples(const CCtfReader1Samples&) = delete;
  CCtfReader1Samples& operator=(const CCtfReader1Samples&) = delete;
  ~CCtfReader1Samples();

  void setReadingRules(const ReadingRules& rules) { m_rules = rules; }
  void setSampleMemory(const std::optional<SampleMemory>& memory) { m_sampleMemory = memory; }
  void setReadingThreads(int threads) { m_readingThreads = threads; }

  // Importers. A read that runs past the last opened file throws CFileException.

  /// Every trial, one read a trial; one read a channel.
  int readCtfDataT(const CString& path);
  int readCtfDataC(const CString& path);

  /// The trials in which `marker` occurs, renumbered from 0.
  int readCtfDataTrigger(const CString& path, const CMarkerDatazk* marker);

  /// The trials that the first marker of `destination` names in rising order, under their own numbers: by the
  /// counts of `source`; by those of the current data object and at most `count` (1 to all); or summed into
  /// one trial of doubles, whose record information then says of how many.
  int readCtfDataMultiTrial(const CString& path, const CMEGDatazk* source, CMEGDatazk* destination);
  int readCtfDataAccumulate(const CString& path, CMEGDatazk* destination, int count);
  int readCtfDataAverage(const CString& path, CMEGDatazk* destination);

  /// Every `factor`-th sample (all for 1 or less), without a filter.
  int readCtfDataResample(const CString& path, int factor);

  /// Samples `first` to `last`, both kept, of every trial, limited to the trial. Refused when that is none or
  /// all.
  int readCtfDataSelected(const CString& path, std::int64_t first, std::int64_t last);

  /// Every trial cut into `parts` (1 to its samples) trials of equal length.
  int readCtfDataTsplit(const CString& path, int parts);

  /// Deletes what the sensor and electrode lists hold and empties all four lists. Returns 1.
  int releaseSensorLists();

 protected:
  void releaseSensors();
  void releaseElectrodes();
  int importOccurrences(const CString& path, const CMEGDatazk* source, CMEGDatazk* destination,
                        const wchar_t* title, int limit);

  ReadingRules m_rules;
  std::optional<SampleMemory> m_sampleMemory;  ///< nothing: samples stay in memory
  int m_readingThreads = 1;                    ///< 0: as many as pay
  std::int32_t m_runDescLength = 0;            ///< bytes of the run description
  // Bytes in the resource file; kept beside the description's length, although reading goes on where it
  // is.
  std::int32_t m_filterStart = 0;       ///< where the first filter record starts
  std::int32_t m_channelNameStart = 0;  ///< just after the last filter record
  CStringArray m_channelNames;
  CStringArray m_channelShortNames;
  CPtrArray m_sensors;     ///< CMEGSensorzk*, owned until released
  CPtrArray m_electrodes;  ///< CEEGelectrodezk*, owned until released
};

/// Resource file. Operations are in read_resource.cpp.
class CCtfReader2Res4 : public CCtfReader1Samples {
 public:
  using CCtfReader1Samples::CCtfReader1Samples;

  /// Reads `prefix` + "res4" whole: the steps below in this order, up to the first that fails.
  int readRes4(const CString& prefix);

  int checkRes4Magic(CFile& file);
  int readGeneralHeader(CFile& file);
  int readFilters(CFile& file);
  int readChannelNames(CFile& file);
  int readSensorRecords(CFile& file);
  int readCoefficients(CFile& file);

  /// Shows "Error in reading MEG sensor" unless there are as many sensors as channels. True when there are.
  bool sensorsMatchChannels() const;

 protected:
  bool m_olderGeneration = false;  ///< the resource file is of the "MEG41RS" generation
};

// Side files: a recording can be used without them. Operations are in read_side_files.cpp. For one that is
// missing they return 0 without a message, for one that can't be opened or read 0 with a message; what was
// read until then stays.

/// Head-coil file, `prefix` + "hc".
class CCtfReader3HeadCoils : public CCtfReader2Res4 {
 public:
  using CCtfReader2Res4::CCtfReader2Res4;

  /// Into the data object's three sets: how many were read; 1, too, when the layout is not recognised.
  int readHeadCoilsToDataset(const CString& prefix);
  /// Into the data object's head localisation, in the place of what it holds. 1, also when the layout is not
  /// recognised.
  int readHeadCoilsToLocalization(const CString& prefix);

 protected:
  /// The list that was filled last; the data object's.
  CHeadLocalization::FiducialList* m_headLocation = nullptr;
};

/// Markers and classes. `path` is any path in the dataset's directory.
class CCtfReader4Markers : public CCtfReader3HeadCoils {
 public:
  using CCtfReader3HeadCoils::CCtfReader3HeadCoils;

  /// Adds the markers of "MarkerFile.mrk" to the trigger manager, and when it then holds none those of
  /// "MarkerFile.mrk.bak". Returns 1.
  int readMarkers(const CString& path);
  /// Adds those of one marker file: 1 when it was parsed, whatever it holds.
  int readMarkerFileAt(const CString& path);
  /// As `readMarkers`, but 0 when a file that is needed can't be read, and an error while reading shows
  /// nothing.
  int loadMarkerFile(const CString& path);
  /// Adds the markers of an open marker file. A file error ends the reading, and is reported.
  void parseMarkerFile(const CFile& file);

  /// Adds the classes of "ClassFile.cls" to the class manager. 1 when the file was read as far as a reader
  /// goes on (see `ctfmeg::TextLines`), 0 when it ends or can't be understood before that.
  int readClassFile(const CString& path);

 private:
  int parseOpened(const CFile& file);
};

/// Information file.
class CCtfReader5Infods : public CCtfReader4Markers {
 public:
  using CCtfReader4Markers::CCtfReader4Markers;

  /// Reads the file into the record information. 1 when it came to its end mark.
  int readInfoDsFile(const CString& path);

 protected:
  /// Values as text, without tags. A top-level block empties it, nothing else does: hosts find what earlier
  /// files left.
  CString m_infodsText;
};

/// Electrodes, digitised positions and virtual channels.
class CCtfReader6Positions : public CCtfReader5Infods {
 public:
  using CCtfReader5Infods::CCtfReader5Infods;

  /// Electrodes of an .eeg file into the electrode list, in the place of what it holds. 1 when it was read.
  int readEegFile(const CString& path);
  /// Digitised positions of a .pos file. 1 when all of the file was as it should be.
  int readPosFile(const CString& path);
  /// "VirtualChannels" in the directory of `path`. Returns 0.
  int readVirtualChannels(const CString& path);
};

/// Bad channels and bad segments. `path` is any path in the dataset's directory.
class CCtfReader7Bad : public CCtfReader6Positions {
 public:
  using CCtfReader6Positions::CCtfReader6Positions;

  /// Each 1 when the file was read as far as a reader goes on (see `ctfmeg::TextLines`), 0 when it ends or
  /// can't be understood before that.
  int readBadChannels(const CString& path);
  int readBadSegments(const CString& path);
};

/// Load sequence, the layer that the facade creates. Operations are in reader/.
class CCtfDatasetReader : public CCtfReader7Bad {
 public:
  using CCtfReader7Bad::CCtfReader7Bad;

  /// Reads the resource file, electrodes and markers into `data`, for one trial. Catches nothing.
  int checkDataset(const CString& path, CMEGDatazk* data);

  /// Reads everything but the samples into `data`: its trials are those of the file, or the occurrences of
  /// `marker` when there is one. Also 1 when a count differs from the channels (see `Info`).
  int readDatasetInfo(const CString& path, CMEGDatazk* data, const CMarkerDatazk* marker);

  // Each appends a new data object to `array` and reads the dataset into it, samples included. What was
  // appended stays there on failure. All but the first catch file errors among the samples too.

  /// Whole, or the trials in which `marker` occurs when there is one.
  int readDatasetToArray(const CString& path, CPtrArray* array, CDocument* document,
                         const CMarkerDatazk* marker);
  int readResampledToArray(const CString& path, CPtrArray* array, int factor);
  int readSelectSampleToArray(const CString& path, CPtrArray* array, int first, int last);
  /// Below 2 pieces as `readDatasetToArray` without a marker; only then is `document` kept.
  int readTrialSplitToArray(const CString& path, CPtrArray* array, int splitCount, CDocument* document);
  /// Whole or resampled, as the user wants a large recording.
  int readPromptedToArray(const CString& path, CPtrArray* array, CDocument* document);

  /// Imports the samples of the current data object, whose information has been read: asks about a large
  /// recording whether to resample it and by which factor (reader/resample_prompt/).
  int readWithResamplePrompt(const CString& path);

 protected:
  /// Outcome of reading what lies beside the samples.
  enum class Info {
    failed,
    countsDiffer,  ///< names or sensors are not as many as channels: a message says so, nothing more is read,
                   ///< success
    complete,
  };

  Info readResource(const CString& path, CMEGDatazk* data);
  Info checkCounts(const CString& path) const;
  Info handOverChannels(const CString& path, int trials);
  Info loadInfo(const CString& path, CMEGDatazk* data, const CMarkerDatazk* marker);
  /// When trials are split, markers are read here; else they have been.
  enum class SplitRoute { no, yes };
  void readSideFiles(const CString& path, SplitRoute split);
  bool appendData(const CString& path, CPtrArray* array);
  int splitTrials(int splitCount) const;
  template <class Import>
  int readReducedToArray(const CString& path, CPtrArray* array, Import import);
};
