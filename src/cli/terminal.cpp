#include "cli/terminal.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli/process.h"

namespace ctfmeg::cli {
namespace {

bool (*stopsWaiting)() = nullptr;

/// A line of standard input; false at its end, and when the waiting is stopped.
bool readLine(std::string& line) {
  while (!inputIsReady())
    if (stopsWaiting != nullptr && stopsWaiting()) return false;
  return static_cast<bool>(std::getline(std::cin, line));
}

}  // namespace

void stopWaitingWhen(bool (*stops)()) { stopsWaiting = stops; }

bool ask(const std::string& question) {
  if (!inputIsTerminal() || !errorsAreTerminal()) return false;
  std::cerr << question << " [y/N] " << std::flush;
  std::string reply;
  readLine(reply);
  return !reply.empty() && (reply[0] == 'y' || reply[0] == 'Y');
}

ProgressBar::~ProgressBar() { std::fputs("\r\x1b[K", stderr); }

void ProgressBar::show(double done, double total) {
  constexpr int kWidth = 32;
  const int percent = std::clamp(static_cast<int>(100.0 * done / std::max(total, 1.0)), 0, 100);
  if (percent == m_percent) return;
  m_percent = percent;
  const auto filled = static_cast<std::size_t>(percent * kWidth / 100);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::fprintf(stderr, "\r%s [%s] %3d%%\x1b[K", m_title.c_str(), bar.c_str(), percent);
  std::fflush(stderr);
}

std::unique_ptr<ProgressBar> openProgressBar(const std::string& title) {
  return errorsAreTerminal() ? std::make_unique<ProgressBar>(title) : nullptr;
}

}  // namespace ctfmeg::cli
