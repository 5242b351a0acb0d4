#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <ctfmeg/export.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/selection.h>

// Datasets copied with changes: renamed, without what can name a person, cut to a part; and marks put into a
// dataset. A copy is a new `.ds` directory that carries its own name throughout. It is built beside its
// place, read back and compared with what it should be, and appears whole or not at all. What is copied is
// never changed.
//
// Everything here throws `Error`: of the kind `refused` where what is asked for can't be had or the target is
// there already, `stopped` when `progress` returned false, else of what can't be read or written.

namespace ctfmeg {
inline namespace v1 {

/// What became of a file of a dataset, or of a field or of lines in it. Values are never repeated.
struct Change {
  enum class What {
    kept,      ///< it may stay, or its owner said so
    removed,   ///< a field or lines; of a file: it is not in the copy
    shifted,   ///< dates
    replaced,  ///< by the new name, by a subject's label, by new numbers
  };
  What what = What::kept;
  std::string file;        ///< in the copy's terms, such as "run.res4" or "hz.ds/hz.res4"
  std::string field;       ///< such as "subjectId", "_PATIENT_ID", "COMMENT"; empty: the file as a whole
  std::int64_t count = 1;  ///< fields or lines
};

/// "kept", "removed", "shifted" or "replaced".
CTFMEG_API const char* nameOf(Change::What what);

struct CopyReport {
  std::vector<Change> changes;  ///< file by file
  std::vector<Finding> warnings;
};

/// Copies a dataset under the name of `out`, such as "new.ds": directory, files, and the dataset's name and
/// path wherever files of a known kind have them. In a path the last component changes, or one that is equal
/// to the old name; everything else is byte for byte the same.
CTFMEG_API CopyReport renameDataset(const std::filesystem::path& in, const std::filesystem::path& out,
                                    const ProgressFunction& progress = {});

/// What becomes of dates.
enum class Dates { remove, shift, keep };

struct Anonymising {
  std::string subject{};  ///< takes the place of the subject's name and number
  Dates dates = Dates::remove;
  std::int32_t shiftDays = 0;       ///< added to each date, where dates are shifted
  std::vector<std::string> keep{};  ///< names of files that are copied though nothing is known about them
  bool keepNames = false;  ///< names of channels, electrodes, markers and classes stay whatever they hold
};

struct AnonymiseReport : CopyReport {
  /// That stay as they were, for somebody to look at.
  std::vector<std::string> channels, electrodes, markers, classes;
};

/// Copies a dataset without what can name a person. Of each known file only what is known to be harmless
/// stays: numbers, geometry, samples, and names of channels, electrodes, markers and classes. Other files are
/// left out. The copy is then searched for each value that was removed; one that is found is an `Error` that
/// names the place. Files and directories are dated 1970-01-01.
CTFMEG_API AnonymiseReport anonymiseDataset(const std::filesystem::path& in, const std::filesystem::path& out,
                                            const Anonymising& how = {},
                                            const ProgressFunction& progress = {});

/// Copies the part of a dataset that a selection leaves: trials, a span of each, channels. Counts, samples
/// before the trigger (which become negative where the span begins after it), markers, classes, bad segments,
/// coefficients and the trial of the largest head motion follow. Trials of a recording that is cut short, and
/// are not there, are left out, so that the copy is whole. A selection that makes a run, splits trials or
/// takes every n-th sample is refused.
CTFMEG_API CopyReport cropDataset(const std::filesystem::path& in, const std::filesystem::path& out,
                                  const Selection& selection, const ProgressFunction& progress = {});

/// Marks to be put into a dataset.
struct Marks {
  /// Channels to be marked as bad, and as good again: names, patterns or kinds as in `Selection::channels`.
  std::vector<std::string> bad{}, good{};
  std::vector<BadSegment> badSegments{};
  struct Occurrence {
    int trial = 0;         ///< number in the file, from 0
    double seconds = 0.0;  ///< from the trigger
  };
  /// Of one marker, which is made where there is none of that name.
  std::string marker{};
  std::vector<Occurrence> occurrences{};
};

/// Changes BadChannels, bad.segments and MarkerFile.mrk: only those where something changes, each replaced at
/// once, the one before kept beside it as BadChannels.bak, bad.segments.bak and MarkerFile.mrk.1.bak. Lines
/// that are not understood stay. Warnings of the readers of these files are passed on. Throws `Error`, and
/// nothing is changed, where MarkerFile.mrk ends inside a marker, or would not be read as before.
CTFMEG_API CopyReport markDataset(const std::filesystem::path& dataset, const Marks& marks);

/// Where a recording is in a study of the BIDS standard, and what only people know.
struct BidsRecording {
  std::string subject{}, task{};          ///< labels of letters and digits, such as "01" and "rest"
  std::string session{}, run{};           ///< likewise, or empty; the run is a number
  std::optional<double> lineFrequency{};  ///< of the mains, in Hz
  std::optional<Anonymising> anonymise{};
};

/// Copies a dataset to its place in a study, a directory that may be there already, and adds what the BIDS
/// standard wants beside it. What the recording does not tell is "n/a". A recording that is there already is
/// refused.
CTFMEG_API AnonymiseReport bidsCopy(const std::filesystem::path& in, const std::filesystem::path& study,
                                    const BidsRecording& recording, const ProgressFunction& progress = {});

/// Where that copy is, such as "study/sub-01/meg/sub-01_task-rest_meg.ds". Throws `Error` for labels that are
/// none.
CTFMEG_API std::filesystem::path bidsPath(const std::filesystem::path& study, const BidsRecording& recording);

}  // namespace v1
}  // namespace ctfmeg
