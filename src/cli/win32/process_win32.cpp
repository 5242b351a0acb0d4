#include "cli/process.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "host/path_text.h"

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

/// Lets the console draw a bar over itself.
void understandEscapes(DWORD stream) {
  const HANDLE console = GetStdHandle(stream);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode)) SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
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

std::FILE* openForWriting(const std::filesystem::path& file, bool mustBeNew) {
  const int flags = _O_WRONLY | _O_CREAT | _O_BINARY | (mustBeNew ? _O_EXCL : _O_TRUNC);
  const int opened = _wopen(file.c_str(), flags, _S_IREAD | _S_IWRITE);
  return opened < 0 ? nullptr : _fdopen(opened, "wb");
}

bool interrupted() { return noted; }

}  // namespace ctfmeg::cli
