#pragma once

#include <string>
#include <vector>

#include "cli/pages.h"

namespace ctfmeg::cli {

/// Does what the arguments (the program's name aside) ask for and returns the exit code. Throws CommandError
/// and Interrupted.
int runCommandLine(const std::vector<std::string>& arguments);

/// What the command line can hold, as `--help` shows it, for pages about it.
Page describeCommandLine();

}  // namespace ctfmeg::cli
