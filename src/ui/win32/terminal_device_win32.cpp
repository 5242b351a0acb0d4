#include <io.h>

#include <cstdio>

#include "ui/terminal_device.h"

bool inputIsTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool outputIsTerminal() { return _isatty(_fileno(stdout)) != 0; }
bool errorsAreTerminal() { return _isatty(_fileno(stderr)) != 0; }
