#include "cli/terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <utility>
#include <vector>

#include "cli/process.h"

namespace ctfmeg::cli {
namespace {

bool (*stopsWaiting)() = nullptr;

std::mutex inUse;  // of the terminal, and for what follows
bool barIsShown = false;

/// Takes the bar away, so that a line can be written; it comes back when it next goes on.
void clearBar() {
  if (std::exchange(barIsShown, false)) std::fputs("\r\x1b[K", stderr);
}

/// "12 s", "3 min 20 s", "2 h 5 min".
std::string durationText(double seconds) {
  const auto whole = static_cast<long long>(std::ceil(std::min(seconds, 1e9)));
  const auto both = [](long long large, const char* unit, long long small, const char* part) {
    return std::to_string(large) + unit + std::to_string(small) + part;
  };
  if (whole < 60) return std::to_string(whole) + " s";
  if (whole < 3600) return both(whole / 60, " min ", whole % 60, " s");
  return both(whole / 3600, " h ", whole / 60 % 60, " min");
}

/// `text` in at most `width` letters: what is too much is left out before its end, where a path names its
/// file.
std::string shortened(const std::string& text, std::size_t width) {
  std::vector<std::size_t> letters;  // where each begins
  for (std::size_t i = 0; i < text.size(); ++i)
    if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) letters.push_back(i);
  if (letters.size() <= width) return text;
  const std::string dots = width < 12 ? "" : "...";
  const std::size_t front = dots.empty() ? 0 : width / 3;
  const std::size_t back = width - front - dots.size();
  return text.substr(0, letters[front]) + dots +
         (back == 0 ? "" : text.substr(letters[letters.size() - back]));
}

/// A title and a bar in the columns that a terminal has beside a percentage and the time that is left.
std::string titleAndBar(const std::string& title, double fraction) {
  constexpr int kUsualColumns = 80;
  constexpr int kTail = 24;  // " 100%, 59 min 59 s left", and a column that stays free
  constexpr int kLongest = 32, kShortest = 10, kLeastTitle = 16;
  const int columns = errorColumns();
  const int room = std::max((columns > 0 ? columns : kUsualColumns) - kTail, 0);
  const int brackets = 3;
  if (room < kLeastTitle + brackets + kShortest) return shortened(title, static_cast<std::size_t>(room));
  const int length = std::clamp(room - brackets - static_cast<int>(title.size()), kShortest, kLongest);
  const auto filled = static_cast<std::size_t>(fraction * length);
  return shortened(title, static_cast<std::size_t>(room - brackets - length)) + " [" +
         std::string(filled, '#') + std::string(static_cast<std::size_t>(length) - filled, '.') + "]";
}

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
  const std::lock_guard lock(inUse);
  clearBar();
  std::cerr << question << " [y/N] " << std::flush;
  std::string reply;
  readLine(reply);
  return !reply.empty() && (reply[0] == 'y' || reply[0] == 'Y');
}

void writeLine(const std::string& line) {
  const std::lock_guard lock(inUse);
  clearBar();
  std::cerr << line + '\n';
}

ProgressBar::~ProgressBar() {
  const std::lock_guard lock(inUse);
  clearBar();
}

void ProgressBar::show(double done, double total) {
  const double fraction = std::clamp(done / std::max(total, 1e-9), 0.0, 1.0);
  char text[64];
  std::snprintf(text, sizeof text, " %3d%%", static_cast<int>(100.0 * fraction));
  std::string line = titleAndBar(m_title, fraction) + text;
  // Before a second has passed nobody knows how long it takes.
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_begin;
  if (passed.count() > 1.0 && fraction > 0.0 && fraction < 1.0)
    line += ", " + durationText(passed.count() * (1.0 - fraction) / fraction) + " left";
  const std::unique_lock lock(inUse, std::try_to_lock);
  if (!lock || (line == m_shown && barIsShown)) return;  // an answer, which others need, may take hours
  m_shown = line;
  barIsShown = true;
  std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
  std::fflush(stderr);
}

std::unique_ptr<ProgressBar> openProgressBar(const std::string& title) {
  return errorsAreTerminal() ? std::make_unique<ProgressBar>(title) : nullptr;
}

}  // namespace ctfmeg::cli
