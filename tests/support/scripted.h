#pragma once

#include <deque>
#include <string>
#include <vector>

#include <megreader/framework/user_interface.h>

/// A user who follows a script: answers questions from one list (No when it is used up), chooses files from
/// another (cancels when it is used up), types what a third one has into dialogs, each ended by OK (closes
/// them when it is used up), and writes down everything that is shown, a line each.
class ScriptedInterface : public UserInterface {
 public:
  /// The script, which has nothing in it before.
  void follow(std::deque<MessageAnswer> answers, std::deque<CString> files, std::deque<CString> entries) {
    m_answers = std::move(answers);
    m_files = std::move(files);
    m_entries = std::move(entries);
  }

  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  std::optional<CString> chooseFile(const CString& filter, int filterIndex) override;
  bool modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) override;
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;
  void report(const Finding& finding) override;

  /// Messages, questions and progress windows in the order in which they were shown. Lines: `message: TEXT`,
  /// `question: TEXT -> yes`, `file dialog: FILTER (INDEX) -> cancel`, `dialog: CAPTION: VALUE`, `typed:
  /// TEXT`, `escape`, `progress: TITLE`, `range LOW HIGH`, `position N`, `closed`.
  const std::vector<std::string>& transcript() const { return m_transcript; }

  /// What was reported; not part of the transcript.
  const std::vector<Finding>& findings() const { return m_findings; }

 private:
  std::deque<MessageAnswer> m_answers;
  std::deque<CString> m_files;
  std::deque<CString> m_entries;
  std::vector<std::string> m_transcript;
  std::vector<Finding> m_findings;
};
