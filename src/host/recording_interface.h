#pragma once

#include <memory>
#include <vector>

#include "framework/user_interface.h"
#include "host/recording.h"

namespace ctfmeg {

/// Thrown through an import when the caller's progress function wants it to stop.
struct StopReading {};

/// The user of a `Recording`: messages and findings are collected, questions and progress go to the caller.
class RecordingInterface : public UserInterface {
 public:
  explicit RecordingInterface(const ReadOptions& options) : m_options(options) {}

  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;
  void report(const ::Finding& finding) override;

  const std::vector<Finding>& findings() const { return m_findings; }
  bool knowsWhy() const;                      ///< an error was reported
  bool refused() const { return m_refused; }  ///< a question was answered No

 private:
  const ReadOptions& m_options;
  std::vector<Finding> m_findings;
  bool m_refused = false;
};

}  // namespace ctfmeg
