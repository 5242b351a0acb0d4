#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include <megreader/datamodel/imports.h>
#include <megreader/datamodel/meg_data.h>
#include <megreader/framework/cdocument.h>
#include <megreader/framework/collections.h>

// Import calls return 1, or 0 with nothing stored when no import of their unit is open (see `ImportScope`) or
// a trial or channel is out of range. They copy what they are given, and read their arguments by the open
// import: some importers pass a byte size or a channel count where others pass a sample count or a channel
// number.

/// The layer that imports run on.
class MEGREADER_API CMEGData9FileA00Basic : public CMEGData6Classify {
 public:
  /// A copy has no import open and no trace; assigning ends an import that was open.
  CMEGData9FileA00Basic() = default;
  CMEGData9FileA00Basic(const CMEGData9FileA00Basic& other);
  CMEGData9FileA00Basic& operator=(const CMEGData9FileA00Basic& other);

  /// Stores a trial of sums, in the place of its raw samples: `data` holds channels x samples values.
  int setTrialDataF(int trial, int channels, std::int64_t samples, const double* data);

  /// Records the import calls from now on; null ends that. Not owned.
  void setImportTrace(ImportTrace* trace) { m_trace = trace; }

 protected:
  bool importing(ImportUnit unit) const { return m_import && m_import->unit == unit; }
  void trace(const char* call, std::initializer_list<std::int64_t> arguments) const;

  std::optional<ImportPlan> m_import;
  std::int32_t m_fileTrial = 0;    // trial of the file that calls are about
  std::int32_t m_blockTrial = -1;  // trial of the last decimated block
  std::int32_t m_nextChannel = 0;

 private:
  friend class ImportScope;
  bool openImport(const ImportPlan& plan);

  ImportTrace* m_trace = nullptr;
};

/// The layer that CTF readers fill.
class MEGREADER_API CMEGData9FileA01CtfMISL : public CMEGData9FileA00Basic {
 public:
  /// Copies the channel lists, in the place of earlier ones; reserves nothing for samples. The lists hold
  /// CMEGSensorzk*, CEEGelectrodezk*, names and short names. Returns 1; 0 and nothing changed for a null or
  /// short list or a null sensor, channels below 1, trials below 0 (0 is allowed), or a data size beyond 64
  /// bits.
  int importTrialChannels(int trials, int channels, const CPtrArray* sensors, const CPtrArray* electrodes,
                          const CStringArray* names, const CStringArray* shortNames, CDocument* document);

  /// Stores a trial, channels x samples host-order values. While decimated blocks are imported: stores the
  /// next channel of the trial, beginning with channel 0 whenever the trial's number changes; surplus is
  /// dropped.
  int importCtfDataT(int trial, int channels, std::int64_t samples, const std::int32_t* data);

  /// Stores one channel of a trial, `samples` host-order values.
  int importCtfDataC(int trial, int channel, std::int64_t samples, const std::int32_t* data);

  /// Stores a trial of channels x samples host-order values as `parts` trials of `pieceLength` samples: file
  /// trial t becomes trials t x parts to t x parts + parts - 1. Samples past the last whole piece are
  /// dropped.
  int importCtfDataTsplit(int trial, int parts, int channels, std::int64_t samples, std::int64_t pieceLength,
                          const std::int32_t* data);

 private:
  int storeNextBlock(int trial, const std::int32_t* data);
};

/// The data object of one dataset.
class MEGREADER_API CMEGDatazk : public CMEGData9FileA01CtfMISL {
 public:
  CMEGDatazk() = default;
  CMEGDatazk(const CMEGDatazk&) = default;
  CMEGDatazk& operator=(const CMEGDatazk&) = default;
  ~CMEGDatazk() override;
};
