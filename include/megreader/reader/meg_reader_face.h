#pragma once

#include <optional>

#include <megreader/datamodel/meg_datazk.h>
#include <megreader/framework/cdocument.h>
#include <megreader/framework/collections.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>
#include <megreader/reader/reading_rules.h>

class CCtfDatasetReader;

/// The door into the library for hosts that hold one data object. Operations return 1 for success and 0 for
/// failure or cancel; what the user must know has then been shown. One facade must not be used from two
/// threads.
///
/// A path is any file of a dataset; on POSIX systems slashes separate as well. A data object is best read
/// into once: a second reading appends to its filters, markers and other lists. Where a file's counts of
/// channels, names and sensors disagree, a message says so, nothing more is read, and the result is 1: the
/// data object then has no channels.
///
/// The reader is made by the first reading call and kept. Copies that are made of a facade from then on
/// share it; the last one to go releases it.
class MEGREADER_API CMEGReaderFace {
 public:
  CMEGReaderFace() = default;
  CMEGReaderFace(const CMEGReaderFace& other);
  CMEGReaderFace& operator=(const CMEGReaderFace& other);
  virtual ~CMEGReaderFace();

  /// How files are read from now on; the host rules unless this is called.
  void setReadingRules(const ReadingRules& rules);

  /// How much memory samples may take from now on, and in which folder the temporary file is that takes more.
  /// Unless this is called all samples stay in memory, and no file is written.
  void setSampleMemory(const SampleMemory& memory);

  /// How many threads read samples from now on: 1, as it is unless this is called, the calling thread alone;
  /// 0 as many as pay. They end with the operation.
  void setReadingThreads(int threads);

  /// 1 when the path ends in "meg4", "res4", ".eeg" or "fods" in any case, or the user wants to go on all the
  /// same.
  int checkCtfFileFormat(CString path);

  /// Reads the resource file into `data` (the host's; null returns 0), as if it had one trial, without
  /// samples. What a failure has read stays in `data`. Throws CFileException (as a pointer) when a file that
  /// opened can't be read, and std::bad_alloc.
  int checkCTFMEGData(CString& path, CMEGDatazk* data);

  /// Reads everything but the samples into `data` (the host's; null returns 0). What a failure has read stays
  /// there.
  int readCTFMEGDataInfo(CString& path, CMEGDatazk* data);

 protected:
  /// The reader, made when there is none; null when there is no memory for it.
  CCtfDatasetReader* reader();
  void releaseReader();

 private:
  struct SharedReader;

  SharedReader* m_reader = nullptr;
  ReadingRules m_rules;
  std::optional<SampleMemory> m_sampleMemory;
  int m_readingThreads = 1;
};

/// The door for hosts that hold an array of data objects. Each operation reads a dataset, samples included,
/// into a new CMEGDatazk appended to `array`, which owns it from then on, and opens trial 0 of every data
/// object in the array (null elements are passed over). On a result of 0 the reader is released. The
/// operations without a path show the file-open dialog first; 0, and nothing reported, when it is cancelled.
class MEGREADER_API CMEGReaderFacezk : public CMEGReaderFace {
 public:
  ~CMEGReaderFacezk() override;

  /// Reads the trials in which `marker` (the host's, may be null: all trials) occurs, renumbered from 0. On a
  /// result of 0 what was appended is removed and deleted again. `document` (may be null) stays the host's;
  /// the reader keeps the pointer until the next call.
  ///
  /// Throws CFileException (as a pointer) when sample files can't be read or end before the run does, and
  /// std::bad_alloc when memory runs out among the samples: the data object then stays in the array, partly
  /// filled, and the reader is kept.
  int readCTFMEGData2HdPa(CString path, CPtrArray* array, CDocument* document, CMarkerDatazk* marker);
  int openReadCTFMEGData2HdPa(CPtrArray* array, CDocument* document, CMarkerDatazk* marker);

  /// As `readCTFMEGData2HdPa` for all trials, but the user is asked about more than 400,000,000 bytes of
  /// samples whether to resample them, and by which factor; a dialog that is cancelled, or that the interface
  /// can't show, means 2. File errors are shown and return 0; what else the interface throws leaves what was
  /// appended in the array.
  int readWithResamplePrompt(CString path, CPtrArray* array, CDocument* document);

  // On a result of 0 these leave what was appended in the array, partly filled.

  /// Keeps every `factor`-th sample; 1 or less keeps all. `document` is not used.
  int readResampling(CPtrArray* array, int factor, CDocument* document);
  /// Keeps samples `first` to `second` of every trial, both included, limited to the trial; 0 when that is
  /// none or all. `document` is not used.
  int readSelectSample(CPtrArray* array, int first, int second, CDocument* document);
  /// Cuts every trial into `splitCount` shorter ones, at most as many as it has samples; below 2 cuts
  /// nothing, and only then is `document` used.
  int readTrialSplit(CPtrArray* array, int splitCount, CDocument* document);

 private:
  template <class Read>
  int readIntoArray(const CString& path, CPtrArray* array, Read read);
  template <class Read>
  int readChosenFile(CPtrArray* array, Read read);
};
