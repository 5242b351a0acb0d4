#pragma once

#include <cstdint>

#include "datamodel/meg/meg_datazk.h"
#include "framework/cfile.h"
#include "framework/collections.h"
#include "util/basic_read_unix2window.h"
#include "util/line_source.h"
#include "util/reading_rules.h"

// The reader object: a chain of layers, base first, one for each family of files. Every reader is an
// operation of it and fills `m_currentData`. Operations return 1 for success and 0 for failure unless they
// say otherwise; `path` is any file of the dataset, `prefix` the path up to and including the dot before the
// extension. The base, CBasicReadUnix2Windowzk (util/), holds `m_currentData` and `m_document`.

/// Sample files. Operations are in meg4/.
class CCtfReader1Samples : public CBasicReadUnix2Windowzk {
 public:
  explicit CCtfReader1Samples(const ReadingRules& rules) : m_rules(rules) {}
  CCtfReader1Samples(const CCtfReader1Samples&) = delete;
  CCtfReader1Samples& operator=(const CCtfReader1Samples&) = delete;
  ~CCtfReader1Samples();

  void setReadingRules(const ReadingRules& rules) { m_rules = rules; }

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
  int importOccurrences(const CString& path, const CMEGDatazk* source, CMEGDatazk* destination,
                        const wchar_t* title, int limit);

  ReadingRules m_rules;
  std::int32_t m_runDescLength = 0;  ///< bytes of the run description
  // Bytes in the resource file; kept beside the description's length, although reading goes on where it
  // stands.
  std::int32_t m_filterStart = 0;       ///< where the first filter record starts
  std::int32_t m_channelNameStart = 0;  ///< just behind the last filter record
  CStringArray m_channelNames;
  CStringArray m_channelShortNames;
  CPtrArray m_sensors;     ///< CMEGSensorzk*, owned until released
  CPtrArray m_electrodes;  ///< CEEGelectrodezk*, owned until released
};

/// Resource file. Operations are in res4/.
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
  int appendFilters(CFile& file);
  int addCoefficients(CFile& file);

  bool m_olderGeneration = false;  ///< the resource file is of the "MEG41RS" generation
};

/// Bad channels and bad segments. Operations are in sidefiles/. `path` is any path in the dataset's
/// directory.
class CCtfReader8Bad : public CCtfReader2Res4 {
 public:
  using CCtfReader2Res4::CCtfReader2Res4;

  /// Each 1 when the file was read as far as a reader goes on (see `LineSource`), 0 when it is missing, can't
  /// be read or ends before that; what was read until then stays.
  int readBadChannels(const CString& path);
  int readBadSegments(const CString& path);

 protected:
  /// Whether a line that does not scan is passed over; reports a finding either way.
  bool passOver(const LineSource& lines, const char* code, const wchar_t* text) const;
};

/// Load sequence, the layer that the facade creates. Operations are in reader/.
class CCtfDatasetReader : public CCtfReader8Bad {
 public:
  using CCtfReader8Bad::CCtfReader8Bad;

  /// Reads the resource file and hands the channels to `data`, for one trial. Catches nothing.
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

 protected:
  /// Outcome of reading what lies beside the samples.
  enum class Info {
    failed,
    countsDiffer,  ///< names or sensors are not as many as channels: said to the user, nothing more is read,
                   ///< success
    complete,
  };

  Info readResource(const CString& path, CMEGDatazk* data);
  Info checkCounts(const CString& path) const;
  Info handOverChannels(const CString& path, int trials);
  Info loadInfo(const CString& path, CMEGDatazk* data, const CMarkerDatazk* marker);
  void readSideFiles(const CString& path);
  bool appendData(const CString& path, CPtrArray* array);
  int splitTrials(int splitCount) const;
  template <class Import>
  int readReducedToArray(const CString& path, CPtrArray* array, Import import);
};
