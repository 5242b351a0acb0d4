#pragma once

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

inline void stopIfInterrupted() {
  if (interrupted()) throw Interrupted{};
}

/// Whether a person is at the other end of standard input, standard output or standard error.
bool inputIsTerminal();
bool outputIsTerminal();
bool errorsAreTerminal();

/// Columns of the terminal that standard output or standard error is; 0 where it is none or does not say.
int outputColumns();
int errorColumns();

/// Waits a little for a line at the terminal. True when one is there, or when waiting for it can't be cut
/// short on this system.
bool inputIsReady();

}  // namespace ctfmeg::cli
