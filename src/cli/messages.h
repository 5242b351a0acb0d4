#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "cli/commands.h"
#include "cli/shown.h"

namespace ctfmeg::cli {

/// A line on standard error: `ctfmeg: PATH: text`, or `ctfmeg: text` without a path.
void say(const std::string& path, const std::string& text);

/// Ends what was written to standard output; throws CommandError when it could not be written.
void finishOutput();

/// Reads datasets for a command: asks and shows progress as the options say, reports errors and warnings on
/// standard error and remembers what they mean for the exit code.
class Session {
 public:
  explicit Session(const ReadingOptions& options) : m_options(options) {}

  /// The recording, with the samples of `route`, or without a route only its header. Throws `Error` when it
  /// can't be read and Interrupted after Ctrl-C.
  Recording read(const std::string& dataset, const std::optional<Route>& route);

  /// As above under rules of the caller's choice, without reporting warnings.
  Recording readSilently(const std::string& dataset, const std::optional<Route>& route, Rules rules);

  /// What may be shown of a recording that was read.
  ShownDataset describe(const std::string& dataset, const Recording& recording) const;

  /// Runs `work` on one dataset. Of what it throws, Error, CommandError, WriteError and std::bad_alloc are
  /// reported, remembered and passed to `onError` as what may be shown, and the command goes on with the next
  /// dataset.
  void attempt(const std::string& dataset, const std::function<void()>& work,
               const std::function<void(const ShownDataset&)>& onError = {});

  /// 1 when a dataset could not be read, or when there was a warning and the options are strict.
  int exitCode() const;

 private:
  bool answer(const std::string& dataset, const std::string& question);
  void sayWarnings(const std::string& dataset, const std::vector<Finding>& findings);

  ReadingOptions m_options;
  std::map<std::string, bool> m_answers;  // `check` reads a dataset several times and asks once
  bool m_failed = false;
  bool m_warned = false;
};

}  // namespace ctfmeg::cli
