#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <megreader/framework/user_interface.h>
#include <ctfmeg/recording.h>

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
  /// No operation of the facade that a recording uses shows one.
  bool modalDialog(const DialogTemplate& /*dialogTemplate*/, DialogOwner& /*owner*/) override {
    return false;
  }
  std::unique_ptr<ProgressWindow> openProgress(const CString& title) override;
  void report(const ::Finding& finding) override;

  const std::vector<Finding>& findings() const { return m_findings; }
  bool knowsWhy() const;                      ///< an error was reported
  bool refused() const { return m_refused; }  ///< a question was answered No

  /// Keeps a finding; of many of a kind in a file only the first, and that there are more.
  void add(const Finding& finding);

 private:
  const ReadOptions& m_options;
  CString m_file;
  double m_steps = 1.0;
  std::string m_progressTitle;
  std::set<std::string> m_known;  // a header that is read twice has its findings once
  std::map<std::string, int> m_ofAKind;
  std::vector<Finding> m_findings;
  std::set<std::string> m_agreed;  // questions answered Yes: they are not asked again
  bool m_refused = false;
};

}  // namespace ctfmeg
