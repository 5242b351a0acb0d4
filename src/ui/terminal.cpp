#include "ui/terminal.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>

#include "framework/encoding.h"
#include "framework/text_dialog.h"
#include "ui/terminal_device.h"

namespace {

constexpr int kBarWidth = 32;

/// One line that is drawn over itself, and only when it changes.
class TerminalBar : public ProgressWindow {
 public:
  explicit TerminalBar(std::string title) : m_title(std::move(title)) {}
  ~TerminalBar() override { std::fputs("\r\x1b[K", stderr); }

  void setRange(int low, int high) override {
    m_low = low;
    m_high = std::max(high, low + 1);
  }

  void setPosition(int position) override {
    const int percent = static_cast<int>(100.0 * (position - m_low) / (m_high - m_low));
    if (percent == m_percent) return;
    m_percent = std::clamp(percent, 0, 100);
    const auto filled = static_cast<std::size_t>(m_percent * kBarWidth / 100);
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %3d%%\x1b[K", m_title.c_str(), bar.c_str(), m_percent);
    std::fflush(stderr);
  }

 private:
  std::string m_title;
  int m_low = 0;
  int m_high = 1;
  int m_percent = -1;
};

bool somebodyIsThere() { return inputIsTerminal() && errorsAreTerminal(); }

bool (*stopsWaiting)() = nullptr;

/// A line of standard input; false at its end, and when the waiting is stopped.
bool readLine(std::string& line) {
  while (!inputIsReady())
    if (stopsWaiting != nullptr && stopsWaiting()) return false;
  return static_cast<bool>(std::getline(std::cin, line));
}

}  // namespace

void stopWaitingWhen(bool (*stops)()) { stopsWaiting = stops; }

bool askOnTerminal(const std::string& question) {
  if (!somebodyIsThere()) return false;
  std::cerr << question << " [y/N] " << std::flush;
  std::string reply;
  readLine(reply);
  return !reply.empty() && (reply[0] == 'y' || reply[0] == 'Y');
}

std::optional<std::string> enterOnTerminal(const std::string& caption, const std::string& value) {
  if (!somebodyIsThere()) return std::nullopt;
  std::cerr << caption << " [" << value << "]: " << std::flush;
  std::string entered;
  if (!readLine(entered)) return std::nullopt;
  return entered.empty() ? value : entered;
}

void tellOnTerminal(const std::string& text) {
  if (somebodyIsThere()) std::cerr << text << '\n';
}

std::unique_ptr<ProgressWindow> openTerminalBar(const std::string& title) {
  if (!errorsAreTerminal()) return nullptr;
  return std::make_unique<TerminalBar>(title);
}

MessageAnswer TerminalInterface::messageBox(const CString& text, MessageStyle style) {
  if (style == MessageStyle::yesNo) {
    if (!somebodyIsThere()) reportUnshown(L"the question can't be shown, which answers it No");
    return askOnTerminal(toUtf8(text)) ? MessageAnswer::yes : MessageAnswer::no;
  }
  std::cerr << toUtf8(text) << '\n';
  return MessageAnswer::ok;
}

std::optional<CString> TerminalInterface::chooseFile(const CString& filter, int filterIndex) {
  if (!somebodyIsThere()) return UserInterface::chooseFile(filter, filterIndex);
  std::cerr << "File to open: " << std::flush;
  std::string path;
  if (!readLine(path) || path.empty()) return std::nullopt;
  return fromUtf8(path);
}

bool TerminalInterface::modalDialog(const DialogTemplate& dialogTemplate, DialogOwner& owner) {
  if (!somebodyIsThere()) return UserInterface::modalDialog(dialogTemplate, owner);
  tellOnTerminal(toUtf8(dialogTemplate.caption));
  return runTextDialog(owner, [&](const CString& value) -> std::optional<CString> {
    const auto entered = enterOnTerminal(toUtf8(dialogTemplate.label), toUtf8(value));
    return entered ? std::optional(fromUtf8(*entered)) : std::nullopt;
  });
}

std::unique_ptr<ProgressWindow> TerminalInterface::openProgress(const CString& title) {
  return openTerminalBar(toUtf8(title));
}
