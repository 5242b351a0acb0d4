#include "cli/process.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

std::atomic<bool> noted{false};

UINT codePageBefore = 0;

BOOL WINAPI note(DWORD event) {
  constexpr DWORD kUntilTheSystemEndsIt = 10000;
  noted = true;
  // These end the process when this returns: what was begun has to be taken away before.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(kUntilTheSystemEndsIt);
  return TRUE;
}

/// Other devices, such as NUL, look like terminals to the runtime library.
bool isConsole(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

/// Lets the console draw a bar over itself.
void understandEscapes(DWORD stream) {
  const HANDLE console = GetStdHandle(stream);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode)) SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

int columnsOf(DWORD stream) {
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  const bool known = GetConsoleScreenBufferInfo(GetStdHandle(stream), &screen) != 0;
  return known ? screen.srWindow.Right - screen.srWindow.Left + 1 : 0;
}

}  // namespace

void prepareProcess() {
  SetConsoleCtrlHandler(note, TRUE);
  codePageBefore = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] { SetConsoleOutputCP(codePageBefore); });
  understandEscapes(STD_ERROR_HANDLE);
  // Results are the same bytes on every system: no line feed becomes two characters.
  _setmode(_fileno(stdout), _O_BINARY);
}

std::vector<std::string> programArguments(int /*argc*/, char** /*argv*/) {
  // What `main` gets has lost every character outside the ANSI code page.
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> list(CommandLineToArgvW(GetCommandLineW(), &count),
                                                           LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; list && i < count; ++i)
    arguments.push_back(textOf(list.get()[i]));
  return arguments;
}

bool interrupted() { return noted; }

bool inputIsTerminal() { return isConsole(STD_INPUT_HANDLE); }
bool outputIsTerminal() { return isConsole(STD_OUTPUT_HANDLE); }
bool errorsAreTerminal() { return isConsole(STD_ERROR_HANDLE); }

int outputColumns() { return columnsOf(STD_OUTPUT_HANDLE); }
int errorColumns() { return columnsOf(STD_ERROR_HANDLE); }

bool inputIsReady() { return true; }  // reading from a console returns when it is interrupted

}  // namespace ctfmeg::cli
