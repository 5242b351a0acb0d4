#include "cli/session.h"

#include <memory>

#include "cli/commands.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/visible_text.h"
#include "ui/terminal.h"

namespace ctfmeg::cli {

Session::Session(const ReadingOptions& options) : m_options(options) {}

bool Session::answer(const std::string& dataset, const std::string& question) const {
  if (m_options.yes || m_options.no) return m_options.yes;
  return askOnTerminal(visible(dataset + ": " + question));
}

Recording Session::read(const std::string& dataset, bool samples) {
  std::unique_ptr<ProgressWindow> bar;
  ReadOptions options;
  options.rules = m_options.rules;
  options.samples = samples;
  options.answer = [&](const std::string& question) { return answer(dataset, question); };
  options.progress = [&](const Progress& progress) {
    constexpr int kSteps = 1000;
    if (!bar && !m_options.quiet) bar = openTerminalBar("Reading " + visible(dataset));
    if (bar) {
      bar->setRange(0, kSteps);
      bar->setPosition(static_cast<int>(progress.fraction * kSteps));
    }
    return !interrupted();
  };
  try {
    Recording recording = Recording::read(dataset, options);
    bar.reset();
    sayWarnings(dataset, recording);
    return recording;
  } catch (const Error& error) {
    if (error.kind() == ErrorKind::stopped || interrupted()) throw Interrupted{};
    throw;
  }
}

void Session::attempt(const std::function<void()>& work, const std::function<void(const Error&)>& onError) {
  try {
    work();
  } catch (const Error& error) {
    m_failed = true;
    say(error.path().string(), error.text());
    if (onError) onError(error);
  } catch (const CommandError& error) {
    m_failed = true;
    say(error.path(), error.what());
  }
}

void Session::sayWarnings(const std::string& dataset, const Recording& recording) {
  for (const Finding& finding : recording.warnings()) {
    const bool remark = finding.severity == Finding::Severity::remark;
    if (!remark) m_warned = true;
    if (remark && m_options.quiet) continue;
    say(finding.file.empty() ? dataset : finding.file, (remark ? "" : "warning: ") + finding.text);
  }
}

int Session::exitCode() const { return m_failed || (m_warned && m_options.strict) ? kFailed : kDone; }

}  // namespace ctfmeg::cli
