#pragma once

#include <memory>
#include <string>

namespace ctfmeg::cli {

/// While a person is waited for, `stops` is asked every now and then; true ends the waiting as the end of the
/// input does. A signal handler alone can't: the signal may come just before the waiting begins.
void stopWaitingWhen(bool (*stops)());

/// Asks on standard error and reads the answer from standard input; true for Yes. Where the two are not both
/// terminals nobody is asked and the answer is No. The question is UTF-8.
bool ask(const std::string& question);

/// How far something is, on one line of standard error that is drawn over itself. The line goes away with the
/// object.
class ProgressBar {
 public:
  explicit ProgressBar(std::string title) : m_title(std::move(title)) {}
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  void show(double done, double total);

 private:
  std::string m_title;
  int m_percent = -1;
};

/// Null where standard error is no terminal.
std::unique_ptr<ProgressBar> openProgressBar(const std::string& title);

}  // namespace ctfmeg::cli
