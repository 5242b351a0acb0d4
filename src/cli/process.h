#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace ctfmeg::cli {

/// Thrown where work stops because of Ctrl-C, so that what was begun is taken away.
struct Interrupted {};

/// To be called first. From then on Ctrl-C (and a request to end) is noted, and calls that wait return.
/// On POSIX systems standard streams that are closed are given something to hold, so that no file that is
/// opened takes their place and gets their text.
void prepareProcess();

bool interrupted();

/// The arguments of the command line, the program's name aside, in UTF-8.
std::vector<std::string> programArguments(int argc, char** argv);

/// Opens a file for binary writing, a new one or in the place of what it held; null, and errno says why, when
/// that fails.
std::FILE* openForWriting(const std::filesystem::path& file, bool mustBeNew);

inline void stopIfInterrupted() {
  if (interrupted()) throw Interrupted{};
}

}  // namespace ctfmeg::cli
