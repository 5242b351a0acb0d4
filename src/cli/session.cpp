#include "cli/session.h"

#include <map>
#include <memory>

#include "cli/commands.h"
#include "cli/identity.h"
#include "cli/process.h"
#include "cli/say.h"
#include "cli/visible_text.h"
#include "host/path_text.h"
#include "ui/terminal.h"

namespace ctfmeg::cli {

Session::Session(const ReadingOptions& options) : m_options(options) {}

bool Session::answer(const std::string& dataset, const std::string& question) {
  if (m_options.yes || m_options.no) return m_options.yes;
  const std::string asked = visible(shownPath(dataset, m_options.noIdentity) + ": " + question);
  const auto known = m_answers.find(asked);
  if (known != m_answers.end()) return known->second;
  return m_answers[asked] = askOnTerminal(asked);
}

Recording Session::read(const std::string& dataset, const std::optional<Route>& route) {
  Recording recording = readSilently(dataset, route, m_options.rules);
  sayWarnings(dataset, recording);
  return recording;
}

Recording Session::readSilently(const std::string& dataset, const std::optional<Route>& route, Rules rules) {
  std::unique_ptr<ProgressWindow> bar;
  ReadOptions options;
  options.rules = rules;
  options.samples = route.has_value();
  options.route = route.value_or(Whole{});
  options.memory = m_options.memory;
  options.spillFolder = pathFromText(m_options.spillFolder);
  options.answer = [&](const std::string& question) { return answer(dataset, question); };
  options.enter = [&](const TextQuestion& question) -> std::optional<std::string> {
    if (m_options.yes || m_options.no) return std::nullopt;
    for (const std::string& complaint : question.complaints)
      say("", complaint);
    if (question.complaints.empty()) tellOnTerminal(visible(question.caption));
    return enterOnTerminal(visible(question.label), visible(question.value));
  };
  options.progress = [&](const Progress& progress) {
    constexpr int kSteps = 1000;
    if (!bar && !m_options.quiet)
      bar = openTerminalBar("Reading " + visible(shownPath(dataset, m_options.noIdentity)));
    if (bar) {
      bar->setRange(0, kSteps);
      bar->setPosition(static_cast<int>(progress.fraction * kSteps));
    }
    return !interrupted();
  };
  try {
    return Recording::read(pathFromText(dataset), options);
  } catch (const Error& error) {
    if (error.kind() == ErrorKind::stopped || interrupted()) throw Interrupted{};
    throw;
  }
}

void Session::attempt(const std::string& dataset, const std::function<void()>& work,
                      const std::function<void(const Error&)>& onError) {
  const auto fail = [&](const Error& error) {
    m_failed = true;
    // Where samples were to live is no part of the dataset.
    const bool elsewhere = m_options.noIdentity && error.kind() == ErrorKind::outOfMemory;
    say(shownPath(elsewhere ? dataset : textOf(error.path()), m_options.noIdentity), error.text());
    if (onError) onError(error);
  };
  try {
    work();
  } catch (const Error& error) {
    fail(error);
  } catch (const CommandError& error) {
    fail({ErrorKind::refused, pathFromText(error.path()), error.what()});
  } catch (const std::bad_alloc&) {
    fail({ErrorKind::outOfMemory, pathFromText(dataset), "needs more memory than there is"});
  }
}

void Session::sayWarnings(const std::string& dataset, const Recording& recording) {
  constexpr int kLinesOfAKind = 5;  // a header may be wrong about thousands of channels
  std::map<std::string, int> said;  // by what stands before the text, and the code
  const auto tell = [&](const std::string& file, const std::string& text) {
    say(shownPath(file.empty() ? dataset : file, m_options.noIdentity), text);
  };
  for (const Finding& finding : recording.warnings()) {
    const bool remark = finding.severity == Finding::Severity::remark;
    if (!remark) m_warned = true;
    if ((remark && m_options.quiet) || !mayBeShown(finding, m_options.noIdentity)) continue;
    const std::string kind = remark ? "" : "warning: ";
    const int count = ++said[kind + finding.code];
    const std::string place = finding.line ? "line " + std::to_string(*finding.line) + " " : "";
    if (count <= kLinesOfAKind) tell(finding.file, kind + place + finding.text);
    if (count == kLinesOfAKind + 1) tell(finding.file, kind + "and more of this kind (" + finding.code + ")");
  }
}

int Session::exitCode() const { return m_failed || (m_warned && m_options.strict) ? kFailed : kDone; }

}  // namespace ctfmeg::cli
