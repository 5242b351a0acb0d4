#include <windows.h>

#include "ui/terminal_device.h"

namespace {

/// Other devices, such as NUL, look like terminals to the runtime library.
bool isConsole(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

}  // namespace

bool inputIsTerminal() { return isConsole(STD_INPUT_HANDLE); }
bool outputIsTerminal() { return isConsole(STD_OUTPUT_HANDLE); }
bool errorsAreTerminal() { return isConsole(STD_ERROR_HANDLE); }

bool inputIsReady() { return true; }  // reading from a console returns when it is interrupted
