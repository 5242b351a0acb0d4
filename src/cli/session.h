#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "cli/options.h"

namespace ctfmeg::cli {

/// Reads datasets for a command: asks and shows progress as the options say, says errors and warnings on
/// standard error and remembers what they mean for the exit code.
class Session {
 public:
  explicit Session(const ReadingOptions& options);

  /// The recording, with the samples of `route`, without one only its header. Throws `Error` when it can't be
  /// read and Interrupted after Ctrl-C.
  Recording read(const std::string& dataset, const std::optional<Route>& route);

  /// The same under rules of the caller's choice, without a word about warnings.
  Recording readSilently(const std::string& dataset, const std::optional<Route>& route, Rules rules);

  /// Runs `work` on one dataset. What it throws of Error and CommandError, and that memory runs out, is said,
  /// handed to `onError` and remembered, and the command goes on with the next dataset.
  void attempt(const std::string& dataset, const std::function<void()>& work,
               const std::function<void(const Error&)>& onError = {});

  /// 1 when a dataset could not be read, or when there was a warning and the options are strict.
  int exitCode() const;

 private:
  bool answer(const std::string& dataset, const std::string& question);
  void sayWarnings(const std::string& dataset, const Recording& recording);

  ReadingOptions m_options;
  std::map<std::string, bool> m_answers;  // a question about a dataset is asked once
  bool m_failed = false;
  bool m_warned = false;
};

}  // namespace ctfmeg::cli
