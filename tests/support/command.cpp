#include "support/command.h"

#include <cstdlib>

#include "support/temporary_directory.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace {

#ifdef _WIN32

constexpr const char* kNothing = "NUL";

std::string quoted(const std::string& argument) { return '"' + argument + '"'; }

int runInShell(const std::string& line) {
  return std::system(quoted(line).c_str());  // cmd takes the outer quotes away
}

#else

constexpr const char* kNothing = "/dev/null";

std::string quoted(const std::string& argument) {
  std::string text = "'";
  for (const char c : argument)
    text += c == '\'' ? "'\\''" : std::string(1, c);
  return text + "'";
}

int runInShell(const std::string& line) {
  const int status = std::system(line.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#endif

}  // namespace

CommandResult runCommand(const std::string& program, const std::vector<std::string>& arguments) {
  const TemporaryDirectory directory;
  const std::string out = (directory.path() / "out").string();
  const std::string err = (directory.path() / "err").string();
  std::string line = quoted(program);
  for (const std::string& argument : arguments)
    line += ' ' + quoted(argument);
  line += " <" + std::string(kNothing) + " >" + quoted(out) + " 2>" + quoted(err);
  const int exitCode = runInShell(line);
  return {exitCode, readFile(out), readFile(err)};
}
