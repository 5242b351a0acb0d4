#include <sys/wait.h>

#include <cstdlib>

#include "support/command.h"
#include "support/temporary_directory.h"

namespace {

std::string quoted(const std::string& argument) {
  std::string text = "'";
  for (const char c : argument)
    text += c == '\'' ? "'\\''" : std::string(1, c);
  return text + "'";
}

}  // namespace

CommandResult runCommand(const std::string& program, const std::vector<std::string>& arguments) {
  const TemporaryDirectory directory;
  const std::string out = (directory.path() / "out").string();
  const std::string err = (directory.path() / "err").string();
  std::string line = quoted(program);
  for (const std::string& argument : arguments)
    line += ' ' + quoted(argument);
  line += " </dev/null >" + quoted(out) + " 2>" + quoted(err);
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(out), readFile(err)};
}
