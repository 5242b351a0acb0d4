#pragma once

#include <memory>
#include <optional>
#include <span>

#include "base/parallel_read.h"
#include "hosts/reader/sample_slots.h"

#include <megreader/datamodel/meg_datazk.h>
#include <megreader/framework/cdialog.h>

/// The counts of the data object's record information; all 0 without a data object.
ctfmeg::SampleCounts sampleCounts(const CMEGDatazk* data);

/// Opens the file set that the counts call for, as the rules say: in slots or as one sequence. Null when
/// that fails: with a message, but without one when a count is below 1.
std::unique_ptr<SampleFiles> openSampleFiles(const CString& prefix, const ctfmeg::SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available);

/// What every importer is made of: the file set, the progress window, the buffer for one unit (a trial or a
/// channel block) and room in a data object, all for as long as it lives. The two ways through a file set are
/// here; what an importer keeps, and what it calls with which arguments, is its own.
class SampleImport {
 public:
  /// `path` is any file of the dataset; the counts are those of `source` (null: none, and `open` fails).
  /// `threads` share a read; 0: as many as pay.
  SampleImport(const CString& path, const CMEGDatazk* source, const ReadingRules& rules,
               const std::optional<SampleMemory>& memory, int threads);

  /// Opens the file set. False when that fails: with a message, but without one when a count is
  /// below 1.
  bool open(AvailableBytes available = AvailableBytes::wide);

  void showProgress(const wchar_t* title, std::int32_t range);

  /// Makes the buffer for one unit and room in `data`. The plan gets its channels, and where it names none
  /// the trials of the set and the values of a unit. False, the files closed, without memory: `message` (may
  /// be null) is shown.
  bool prepare(CMEGDatazk& data, ImportPlan plan, std::uint64_t unitBytes, const wchar_t* message);

  /// As `prepare`, for whole trials that are all imported: no buffer is made where each can be read into its
  /// place in `data`.
  bool prepareInPlace(CMEGDatazk& data, ImportPlan plan, std::uint64_t unitBytes, const wchar_t* message);

  /// Reports that there is no memory, shows `message` (may be null), closes the files and returns 0.
  int failWithoutMemory(const wchar_t* message);

  std::int32_t trials() const { return m_files->trials(); }
  const ctfmeg::SampleCounts& counts() const { return m_counts; }

  /// Bytes of a trial as the importers of whole trials count them. Reports a finding when the count wraps.
  std::uint64_t countedTrialBytes() const;

  /// The unit last read whole, as it is in the file; before that, the room for it.
  std::span<std::int32_t> unit() const {
    return {m_buffer.get(), static_cast<std::size_t>(m_bufferBytes / sizeof(std::int32_t))};
  }

  /// The unit last read whole, in host order.
  const std::int32_t* samples() const;

  /// Reads trial after trial and calls `store(trial)`, which returns false to end the reading. After a short
  /// read the same trial is read again from the next file; what came of it is dropped.
  template <class Store>
  void forEachTrial(Store store) {
    for (std::int32_t trial = 0; trial < trials();) {
      m_progress.setPosition(trial);
      if (readTrial(trial)) {
        m_scope->setFileTrial(trial);
        if (!store(trial++)) return;
      } else if (!m_files->nextFile()) {
        return;
      }
    }
  }

  /// Reads channel block after channel block and calls `store(trial, channel)`. After a short read the trial
  /// number steps back by one and reading goes on with the next channel: blocks are then stored in the wrong
  /// place. Hosts know it so; sets read as one sequence have no short reads.
  template <class Store>
  void forEachChannelBlock(Store store) {
    for (std::int32_t trial = 0; trial < trials(); ++trial)
      for (std::int32_t channel = 0; channel < m_counts.channels; ++channel) {
        m_progress.setPosition(channel);
        if (readUnit()) {
          m_scope->setFileTrial(trial);
          store(trial, channel);
        } else if (m_files->nextFile()) {
          --trial;
        } else {
          break;
        }
      }
  }

 private:
  /// How large a unit is. A unit larger than every file gets room for the largest only: reading it ends
  /// short.
  void setUnit(std::uint64_t unitBytes);
  bool makeBuffer();
  bool openScope(CMEGDatazk& data, ImportPlan plan, const wchar_t* message);

  bool readTrial(std::int32_t trial);
  /// Reads the next unit into the buffer. False when the file at hand held less.
  bool readUnit();
  /// Reads the next unit into `values`, in host order.
  bool readUnitInto(std::span<std::int32_t> values);
  /// Reads all of `values`, in host order, from the file at hand, with several threads. False, nothing lost,
  /// when it is too little to be worth it or the file holds less. Throws FileError.
  bool readShared(const SampleFiles::Rest& here, std::span<std::int32_t> values);
  /// Reads short trials from `first` on into their places, several at once. False, nothing lost, when that is
  /// not worth it or fails.
  bool readTogether(std::int32_t first);

  CString m_prefix;
  ctfmeg::SampleCounts m_counts;
  ReadingRules m_rules;
  std::optional<SampleMemory> m_memory;
  std::unique_ptr<SampleFiles> m_files;
  ctfmeg::Workers m_workers;
  std::unique_ptr<std::int32_t[]> m_buffer;
  std::uint64_t m_bufferBytes = 0;
  std::uint64_t m_unitBytes = 0;
  CProgresszk m_progress;
  std::optional<ImportScope> m_scope;
  bool m_inPlace = false;
  std::int32_t m_readUpTo = 0;        // the first trial that is not in its place yet
  std::int32_t m_readSinglyUpTo = 0;  // the first trial that may be read together with others again
  std::span<std::int32_t> m_place;    // of the trial read last, where trials are read into their places
};

/// What importers show when there is no memory for their buffer.
inline constexpr const wchar_t* kTooBig = L"Allocate Memeory error! Is dataset too big?!";
