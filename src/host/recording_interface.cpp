#include "host/recording_interface.h"

#include <algorithm>
#include <utility>

#include <megreader/framework/encoding.h>
#include "host/convert.h"

namespace ctfmeg {
namespace {

/// Counts steps instead of trusting positions: some importers begin anew for every trial.
class CallbackProgress : public ProgressWindow {
 public:
  CallbackProgress(const std::function<bool(const Progress&)>& callback, std::string title, double steps)
      : m_callback(callback), m_progress{std::move(title), 0.0}, m_steps(std::max(steps, 1.0)) {}

  void setRange(int /*low*/, int /*high*/) override {}

  void setPosition(int /*position*/) override {
    m_progress.fraction = std::min(m_done++ / m_steps, 1.0);
    if (!m_callback(m_progress)) throw StopReading{};
  }

 private:
  const std::function<bool(const Progress&)>& m_callback;
  Progress m_progress;
  double m_steps;
  double m_done = 0.0;
};

}  // namespace

MessageAnswer RecordingInterface::messageBox(const CString& text, MessageStyle style) {
  std::string shown = toUtf8(text);
  while (!shown.empty() && shown.back() == '\n')
    shown.pop_back();
  if (style == MessageStyle::yesNo) {
    if (m_agreed.contains(shown) || (m_options.answer && m_options.answer(shown))) {
      m_agreed.insert(shown);
      return MessageAnswer::yes;
    }
    m_refused = true;
    add({Finding::Severity::remark, "message", "", shown + " Answered No."});
    return MessageAnswer::no;
  }
  add({Finding::Severity::warning, "message", "", shown});
  return MessageAnswer::ok;
}

std::optional<CString> RecordingInterface::chooseFile(const CString& /*filter*/, int /*filterIndex*/) {
  return m_file;
}

std::unique_ptr<ProgressWindow> RecordingInterface::openProgress(const CString& title) {
  if (!m_options.progress) return nullptr;
  m_progressTitle = toUtf8(title);
  return std::make_unique<CallbackProgress>(m_options.progress, m_progressTitle, m_steps);
}

void RecordingInterface::finishProgress() const {
  if (m_options.progress) m_options.progress({m_progressTitle, 1.0});
}

void RecordingInterface::report(const ::Finding& finding) { add(convertFinding(finding)); }

void RecordingInterface::add(const Finding& finding) {
  const std::string place = finding.offset ? std::to_string(*finding.offset)
                            : finding.line ? std::to_string(*finding.line)
                                           : "";
  constexpr int kMostOfAKind = 100;  // a file of rubbish has one for each of its lines
  const std::string kind = finding.code + '\n' + finding.file;
  if (m_ofAKind[kind] > kMostOfAKind) return;
  if (!m_known.insert(kind + '\n' + place + '\n' + finding.text).second) return;
  if (++m_ofAKind[kind] <= kMostOfAKind)
    m_findings.push_back(finding);
  else
    m_findings.push_back({finding.severity, finding.code, finding.file, "and more of this kind"});
}

bool RecordingInterface::knowsWhy() const {
  return std::any_of(m_findings.begin(), m_findings.end(),
                     [](const Finding& finding) { return finding.severity == Finding::Severity::error; });
}

}  // namespace ctfmeg
