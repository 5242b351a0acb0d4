#pragma once

#include <memory>

#include "datamodel/meg/meg_data.h"
#include "framework/cdocument.h"
#include "framework/collections.h"
#include "framework/cstring.h"
#include "framework/export.h"
#include "util/reading_rules.h"

class CCtfDatasetReader;
class CMarkerDatazk;

/// The door into the library for hosts that hold one data object. Operations return 1 for success and 0 for
/// failure or cancel; what the user must know has then been shown. One facade must not be used from two
/// threads.
///
/// A path is any file of a dataset; on POSIX systems slashes separate as well. The reader is made by the
/// first reading call and kept. Copies of a facade share it; the last one to go releases it.
class MEGREADER_API CMEGReaderFace {
 public:
  CMEGReaderFace() = default;
  CMEGReaderFace(const CMEGReaderFace&) = default;
  CMEGReaderFace& operator=(const CMEGReaderFace&) = default;
  virtual ~CMEGReaderFace();

  /// How files are read from now on; the host rules unless this is called.
  void setReadingRules(const ReadingRules& rules);

  /// 1 when the path ends in "meg4", "res4", ".eeg" or "fods" in any case, or the user wants to go on all the
  /// same.
  int checkCtfFileFormat(CString path);

  /// Reads the resource file into `data` (the host's), with room for one trial and no samples.
  int checkCTFMEGData(CString& path, CMEGDatazk* data);

  /// Reads everything but the samples into `data` (the host's).
  int readCTFMEGDataInfo(CString& path, CMEGDatazk* data);

 protected:
  /// The reader, made when there is none; null when there is no memory for it.
  CCtfDatasetReader* reader();
  void releaseReader() { m_reader.reset(); }

 private:
  std::shared_ptr<CCtfDatasetReader> m_reader;
  ReadingRules m_rules;
};

/// The door for hosts that hold an array of data objects.
class MEGREADER_API CMEGReaderFacezk : public CMEGReaderFace {
 public:
  ~CMEGReaderFacezk() override;

  /// Reads a dataset, samples included, into a new CMEGDatazk appended to `array`, which owns it from then
  /// on, and opens trial 0 of every data object in the array. On failure what was appended is removed again.
  /// Throws CFileException (as a pointer) when sample files end before the run does.
  int readCTFMEGData2HdPa(CString path, CPtrArray* array, CDocument* document, CMarkerDatazk* marker);
};
