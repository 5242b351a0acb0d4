#include "support/scripted.h"

#include <megreader/framework/cdialog.h>
#include <megreader/framework/encoding.h>

namespace {

class ScriptedProgress : public ProgressWindow {
 public:
  explicit ScriptedProgress(std::vector<std::string>& transcript) : m_transcript(transcript) {}
  ~ScriptedProgress() override { m_transcript.emplace_back("closed"); }

  void setRange(int low, int high) override {
    m_transcript.push_back("range " + std::to_string(low) + " " + std::to_string(high));
  }
  void setPosition(int position) override { m_transcript.push_back("position " + std::to_string(position)); }

 private:
  std::vector<std::string>& m_transcript;
};

}  // namespace

MessageAnswer ScriptedInterface::messageBox(const CString& text, MessageStyle style) {
  if (style == MessageStyle::ok) {
    m_transcript.push_back("message: " + toUtf8(text));
    return MessageAnswer::ok;
  }
  MessageAnswer answer = MessageAnswer::no;
  if (!m_answers.empty()) {
    answer = m_answers.front();
    m_answers.pop_front();
  }
  m_transcript.push_back("question: " + toUtf8(text) + (answer == MessageAnswer::yes ? " -> yes" : " -> no"));
  return answer;
}

std::optional<CString> ScriptedInterface::chooseFile(const CString& filter, int filterIndex) {
  std::string line = "file dialog: " + toUtf8(filter) + " (" + std::to_string(filterIndex) + ") -> ";
  if (m_files.empty()) {
    m_transcript.push_back(line + "cancel");
    return std::nullopt;
  }
  const CString chosen = m_files.front();
  m_files.pop_front();
  m_transcript.push_back(line + "chosen");
  return chosen;
}

bool ScriptedInterface::modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) {
  std::string line = "dialog: " + toUtf8(dialogTemplate.caption) + ": ";
  return runTextDialog(owner, [&](const CString& value) -> std::optional<CString> {
    if (!line.empty()) m_transcript.push_back(line + toUtf8(value));
    line.clear();
    if (m_entries.empty()) {
      m_transcript.emplace_back("escape");
      return std::nullopt;
    }
    const CString typed = m_entries.front();
    m_entries.pop_front();
    m_transcript.push_back("typed: " + toUtf8(typed));
    return typed;
  });
}

std::unique_ptr<ProgressWindow> ScriptedInterface::openProgress(const CString& title) {
  m_transcript.push_back("progress: " + toUtf8(title));
  return std::make_unique<ScriptedProgress>(m_transcript);
}

void ScriptedInterface::report(const Finding& finding) { m_findings.push_back(finding); }
