#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace ctfmeg::cli {

// Several threads may write, ask and show bars at once: questions and lines come one after another, and a bar
// waits for none of them.

/// While a person is waited for, `stops` is asked every now and then; true ends the waiting as the end of the
/// input does. A signal handler alone can't: the signal may come just before the waiting begins.
void stopWaitingWhen(bool (*stops)());

/// Asks on standard error and reads the answer from standard input; true for Yes. Where the two are not both
/// terminals nobody is asked and the answer is No. The question is UTF-8.
bool ask(const std::string& question);

/// A line on standard error, in place of a bar that is shown.
void writeLine(const std::string& line);

/// How far something is and how much time is left, on one line of standard error that is drawn over itself.
/// The line goes away with the object.
class ProgressBar {
 public:
  explicit ProgressBar(std::string title) : m_title(std::move(title)) {}
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  void show(double done, double total);

 private:
  std::string m_title;
  std::string m_shown;
  std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

/// Null where standard error is no terminal.
std::unique_ptr<ProgressBar> openProgressBar(const std::string& title);

}  // namespace ctfmeg::cli
