#pragma once

#include <string>
#include <vector>

struct CommandResult {
  int exitCode = -1;
  std::string out;  ///< what it wrote to standard output
  std::string err;  ///< and to standard error
};

/// Runs a program to its end, with nothing to read and no terminal.
CommandResult runCommand(const std::string& program, const std::vector<std::string>& arguments);
