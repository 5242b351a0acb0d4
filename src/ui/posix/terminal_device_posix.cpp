#include <poll.h>
#include <unistd.h>

#include "ui/terminal_device.h"

bool inputIsTerminal() { return isatty(STDIN_FILENO) == 1; }
bool outputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }
bool errorsAreTerminal() { return isatty(STDERR_FILENO) == 1; }

bool inputIsReady() {
  constexpr int kMilliseconds = 100;
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, kMilliseconds) > 0;
}
