#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
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

  /// The path that a file dialog is answered with.
  void setFile(const CString& path) { m_file = path; }

  /// How often an importer will set its position, whatever range and positions it uses.
  void setProgressSteps(double steps) { m_steps = steps; }

  /// Tells the caller that all is read, whatever a set that ends early has left out.
  void finishProgress() const;

  MessageAnswer messageBox(const CString& text, MessageStyle style) override;
  std::optional<CString> chooseFile(const CString& filter, int filterIndex) override;
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;
  void report(const ::Finding& finding) override;

  const std::vector<Finding>& findings() const { return m_findings; }
  bool knowsWhy() const;                      ///< an error was reported
  bool refused() const { return m_refused; }  ///< a question was answered No

 private:
  void add(const Finding& finding);

  const ReadOptions& m_options;
  CString m_file;
  double m_steps = 1.0;
  std::string m_progressTitle;
  std::set<std::string> m_known;  // a header that is read twice has its findings once
  std::vector<Finding> m_findings;
  bool m_agreed = false;  // a question was answered Yes: it is not asked again
  bool m_refused = false;
};

}  // namespace ctfmeg
