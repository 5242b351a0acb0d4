#include "cli/say.h"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "cli/commands.h"
#include "cli/process.h"
#include "cli/visible_text.h"

namespace ctfmeg::cli {

void say(const std::string& path, const std::string& text) {
  std::cerr << "ctfmeg: " << (path.empty() ? "" : visible(path) + ": ") << visible(text) << '\n';
}

void finishOutput() {
  errno = 0;
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0) {
    stopIfInterrupted();  // nobody reads it
    throw CommandError(
        "standard output",
        "can't be written" + (errno == 0 ? "" : ": " + std::generic_category().message(errno)));
  }
}

}  // namespace ctfmeg::cli
