#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace ctfmeg::cli {

/// While a person is waited for, `stops` is asked every now and then; true ends the waiting as the end of the
/// input does. A signal handler alone can't: the signal may come just before the waiting begins.
void stopWaitingWhen(bool (*stops)());

/// Asks on standard error and reads the answer from standard input; true for Yes. Where the two are not both
/// terminals nobody is asked and the answer is No. The question is UTF-8.
bool ask(const std::string& question);

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

/// Takes the bar that is shown away, so that a line can be written; it comes back when it next goes on.
void clearProgressBar();

/// Null where standard error is no terminal.
std::unique_ptr<ProgressBar> openProgressBar(const std::string& title);

}  // namespace ctfmeg::cli
