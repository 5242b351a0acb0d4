#pragma once

#include <memory>
#include <optional>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>
#include <megreader/framework/finding.h>

/// Buttons of a message box, with the framework's style values.
enum class MessageStyle : unsigned { ok = 0, yesNo = 4 };

/// How a message box was answered, with the framework's numbers.
enum class MessageAnswer : int { ok = 1, yes = 6, no = 7 };

/// A progress window on the screen; destroying it closes it.
class MEGREADER_API ProgressWindow {
 public:
  ProgressWindow() = default;
  ProgressWindow(const ProgressWindow&) = delete;
  ProgressWindow& operator=(const ProgressWindow&) = delete;
  virtual ~ProgressWindow();

  virtual void setRange(int low, int high) = 0;
  /// May throw to stop the import: importers own everything by RAII.
  virtual void setPosition(int position) = 0;
};

/// A modal dialog of a caption, a label, an edit field and OK; closing it cancels.
struct DialogTemplate {
  int resource;  ///< of the Windows dialog resource that lays it out
  const wchar_t* caption;
  const wchar_t* label;
  int edit;  ///< number of the edit field
};

/// A modal dialog while it is shown: the texts of its controls, by their numbers.
class MEGREADER_API DialogWindow {
 public:
  DialogWindow() = default;
  DialogWindow(const DialogWindow&) = delete;
  DialogWindow& operator=(const DialogWindow&) = delete;
  virtual ~DialogWindow();

  virtual CString controlText(int control) const = 0;
  virtual void setControlText(int control, const CString& text) = 0;
};

/// What a modal dialog is about. May show message boxes while it is called.
class MEGREADER_API DialogOwner {
 public:
  virtual ~DialogOwner();
  /// The dialog is about to be seen.
  virtual void shown(DialogWindow& window) = 0;
  /// OK was pressed; true closes the dialog.
  virtual bool confirmed(DialogWindow& window) = 0;
};

/// The one way to the user. A host, a terminal or a test supplies it.
class MEGREADER_API UserInterface {
 public:
  UserInterface() = default;
  UserInterface(const UserInterface&) = delete;
  UserInterface& operator=(const UserInterface&) = delete;
  virtual ~UserInterface();

  /// Shows a text and returns how it was answered: `ok` for a box of style `ok`, `yes` or `no` for a
  /// question.
  virtual MessageAnswer messageBox(const CString& text, MessageStyle style) = 0;

  /// Lets the user choose a file to open; nothing when that was cancelled. `filter` is a list of pairs
  /// "what is shown|patterns|", ended by another "|"; `filterIndex` (from 1) is the pair chosen at first.
  /// An interface that has no such dialog leaves this alone: it counts as cancelled, which is reported.
  virtual std::optional<CString> chooseFile(const CString& filter, int filterIndex);

  /// Shows a modal dialog; true when OK closed it, false when it was cancelled. By default it is cancelled,
  /// which is reported.
  virtual bool modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner);

  /// Null when this interface shows no progress.
  virtual std::unique_ptr<ProgressWindow> openProgress(const CString& title) = 0;

  /// Takes everything that readers notice; by default does nothing with it.
  virtual void report(const Finding& finding);

 protected:
  /// Reports, as `dialog.unshown`, that the user never saw a dialog or a question: `text` says which.
  void reportUnshown(const wchar_t* text);
};

/// The interface that this thread's calls reach: the one installed for the thread, else for the process, else
/// real windows on Windows and null elsewhere.
MEGREADER_API UserInterface* currentUserInterface();

/// Installs `ui` for the whole process (null: none). Not owned; it must outlive its use.
MEGREADER_API void installUserInterface(UserInterface* ui);

/// Installs an interface for this thread while it lives, and then the one before it again.
class MEGREADER_API ThreadUserInterface {
 public:
  explicit ThreadUserInterface(UserInterface* ui);
  ThreadUserInterface(const ThreadUserInterface&) = delete;
  ThreadUserInterface& operator=(const ThreadUserInterface&) = delete;
  ~ThreadUserInterface();

 private:
  UserInterface* m_before;
};

/// Shows a message box. Where no interface is installed nothing is shown, and a question is answered No.
MEGREADER_API MessageAnswer AfxMessageBox(const CString& text, MessageStyle style = MessageStyle::ok);

/// Hands a finding to the current interface, if there is one.
MEGREADER_API void reportFinding(const Finding& finding);
