#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "cli/shown.h"
#include "cli/terminal.h"

namespace ctfmeg::cli {

/// A line on standard error: `ctfmeg: PATH: text`, or `ctfmeg: text` without a path.
void say(const std::string& path, const std::string& text);

/// Throws CommandError where there is no folder for a file of that name.
void requireFolderOf(const std::string& file);

/// Ends what was written to standard output; throws CommandError when it could not be written.
void finishOutput();

/// The selection and the processing that options ask for.
std::pair<Selection, Processing> askedFor(const Recording& recording, const SelectionOptions& options);

/// Opens datasets for a command: asks and shows progress as the options say, reports errors and warnings on
/// standard error and remembers what they mean for the exit code. Several threads may use one.
class Session {
 public:
  explicit Session(const ReadingOptions& options) : m_options(options) {}

  /// The recording, under the rules of the options or others. Throws `Error` when it can't be read.
  Recording open(const std::string& dataset) const { return open(dataset, m_options.rules); }
  Recording open(const std::string& dataset, Rules rules) const;

  /// What options leave of a recording: under plain rules to be read on demand, under host rules all that
  /// hosts import, in memory. `progress` is about samples that are read to know which epochs are left. Throws
  /// `Error`, and Interrupted after Ctrl-C.
  SelectedSamples select(const std::string& dataset, const Recording& recording,
                         const SelectionOptions& samples = {}, const ProgressFunction& progress = {}) const;

  /// A recording without a selection, with what was noticed about its sample files where there are any.
  SelectedSamples lookAt(const Recording& recording) const;

  /// Reports what was noticed.
  void sayWarnings(const std::string& dataset, const std::vector<Finding>& findings);
  /// Likewise about samples, with what can be done about a trial that is cut short.
  void sayWarnings(const std::string& dataset, const Recording& recording, const SelectedSamples& selected,
                   const Selection& selection);

  /// Reports why something about a path, which may be a person's, can't be done; the exit code will be 1.
  void sayFailure(const std::string& path, const std::string& text);

  /// Shows a bar while a dataset's samples are read, and stops after Ctrl-C.
  ProgressFunction progress(const std::string& dataset) const;

  /// A bar for a dataset's samples; null where none is to be seen.
  std::unique_ptr<ProgressBar> openBar(const std::string& dataset) const;

  /// Runs `work` on one dataset. Of what it throws, Error, CommandError, WriteError and std::bad_alloc are
  /// reported, remembered and passed to `onError` as what may be shown, and the command goes on with the next
  /// dataset.
  void attempt(const std::string& dataset, const std::function<void()>& work,
               const std::function<void(const ShownDataset&)>& onError = {});

  /// 1 when a dataset could not be read, or when there was a warning and the options are strict.
  int exitCode() const;

 private:
  ReadingOptions m_options;
  std::atomic<bool> m_failed = false;
  std::atomic<bool> m_warned = false;
};

}  // namespace ctfmeg::cli
