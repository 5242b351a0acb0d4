#include "host/recording_interface.h"

#include <algorithm>

#include "framework/encoding.h"
#include "host/convert.h"

namespace ctfmeg {
namespace {

class CallbackProgress : public ProgressWindow {
 public:
  CallbackProgress(const std::function<bool(const Progress&)>& callback, std::string title)
      : m_callback(callback), m_progress{std::move(title), 0.0} {}

  void setRange(int low, int high) override {
    m_low = low;
    m_high = std::max(high, low + 1);
  }

  void setPosition(int position) override {
    m_progress.fraction = static_cast<double>(position - m_low) / (m_high - m_low);
    if (!m_callback(m_progress)) throw StopReading{};
  }

 private:
  const std::function<bool(const Progress&)>& m_callback;
  Progress m_progress;
  int m_low = 0;
  int m_high = 1;
};

}  // namespace

MessageAnswer RecordingInterface::messageBox(const CString& text, MessageStyle style) {
  std::string shown = toUtf8(text);
  while (!shown.empty() && shown.back() == '\n')
    shown.pop_back();
  if (style == MessageStyle::yesNo) {
    if (m_options.answer && m_options.answer(shown)) return MessageAnswer::yes;
    m_refused = true;
  }
  m_findings.push_back({Finding::Severity::warning, "message", "", shown});
  return style == MessageStyle::yesNo ? MessageAnswer::no : MessageAnswer::ok;
}

std::unique_ptr<ProgressWindow> RecordingInterface::openProgress(const CString& title) {
  if (!m_options.progress) return nullptr;
  return std::make_unique<CallbackProgress>(m_options.progress, toUtf8(title));
}

bool RecordingInterface::knowsWhy() const {
  return std::any_of(m_findings.begin(), m_findings.end(),
                     [](const Finding& finding) { return finding.severity == Finding::Severity::error; });
}

void RecordingInterface::report(const ::Finding& finding) { m_findings.push_back(convertFinding(finding)); }

}  // namespace ctfmeg
