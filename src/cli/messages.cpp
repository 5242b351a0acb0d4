#include "cli/messages.h"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>
#include <new>
#include <system_error>

#include "cli/process.h"
#include "cli/terminal.h"
#include <ctfmeg/path_text.h>
#include "output/result_file.h"
#include "output/visible_text.h"

namespace ctfmeg::cli {

using output::visible;

void say(const std::string& path, const std::string& text) {
  std::cerr << "ctfmeg: " << (path.empty() ? "" : visible(path) + ": ") << visible(text) << '\n';
}

void finishOutput() {
  errno = 0;
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0) {
    stopIfInterrupted();  // nobody reads it
    throw CommandError(
        "standard output",
        "can't be written" + (errno == 0 ? "" : ": " + std::generic_category().message(errno)));
  }
}

bool Session::answer(const std::string& dataset, const std::string& question) {
  if (m_options.yes || m_options.no) return m_options.yes;
  const std::string asked = visible(shown(dataset, m_options) + ": " + question);
  const auto known = m_answers.find(asked);
  if (known != m_answers.end()) return known->second;
  return m_answers[asked] = ask(asked);
}

Recording Session::read(const std::string& dataset, const std::optional<Route>& route) {
  Recording recording = readSilently(dataset, route, m_options.rules);
  sayWarnings(dataset, recording.warnings());
  return recording;
}

Recording Session::readSilently(const std::string& dataset, const std::optional<Route>& route, Rules rules) {
  std::unique_ptr<ProgressBar> bar;
  ReadOptions options;
  options.rules = rules;
  options.samples = route.has_value();
  options.route = route.value_or(Whole{});
  options.answer = [&](const std::string& question) { return answer(dataset, question); };
  options.progress = [&](const Progress& progress) {
    if (!bar && !m_options.quiet) bar = openProgressBar("Reading " + visible(shown(dataset, m_options)));
    if (bar) bar->show(progress.fraction, 1.0);
    return !interrupted();
  };
  try {
    return Recording::read(pathFromText(dataset), options);
  } catch (const Error& error) {
    if (error.kind() == ErrorKind::stopped || interrupted()) throw Interrupted{};
    throw;
  }
}

ShownDataset Session::describe(const std::string& dataset, const Recording& recording) const {
  return shown(cli::describe(dataset, m_options.rules, recording), m_options);
}

void Session::attempt(const std::string& dataset, const std::function<void()>& work,
                      const std::function<void(const ShownDataset&)>& onError) {
  const auto fail = [&](const Error& error) {
    m_failed = true;
    const ShownDataset failed = shown(cli::describe(dataset, error), m_options);
    say(failed.error->file, failed.error->text);
    if (onError) onError(failed);
  };
  try {
    work();
  } catch (const Error& error) {
    fail(error);
  } catch (const CommandError& error) {
    fail({ErrorKind::refused, pathFromText(error.path()), error.what()});
  } catch (const output::WriteError& error) {
    stopIfInterrupted();
    fail({ErrorKind::refused, pathFromText(error.name()), error.what()});
  } catch (const std::bad_alloc&) {
    fail({ErrorKind::outOfMemory, pathFromText(dataset), "needs more memory than there is"});
  }
}

void Session::sayWarnings(const std::string& dataset, const std::vector<Finding>& findings) {
  constexpr int kLinesOfAKind = 5;  // a header may be wrong about thousands of channels
  for (const Finding& finding : findings)
    if (finding.severity != Finding::Severity::remark) m_warned = true;
  std::map<std::string, int> said;  // by the words before the text, and the code
  const auto tell = [&](const std::string& file, const std::string& text) {
    say(file.empty() ? shown(dataset, m_options) : file, text);
  };
  for (const Finding& finding : shown(findings, m_options)) {
    const bool remark = finding.severity == Finding::Severity::remark;
    if (remark && m_options.quiet) continue;
    const std::string kind = remark ? "" : "warning: ";
    const int count = ++said[kind + finding.code];
    const std::string place = finding.line ? "line " + std::to_string(*finding.line) + " " : "";
    if (count <= kLinesOfAKind) tell(finding.file, kind + place + finding.text);
    if (count == kLinesOfAKind + 1) tell(finding.file, kind + "and more of this kind (" + finding.code + ")");
  }
}

int Session::exitCode() const { return m_failed || (m_warned && m_options.strict) ? kFailed : kDone; }

}  // namespace ctfmeg::cli
