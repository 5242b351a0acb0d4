#pragma once

namespace ctfmeg::cli {

/// Thrown where work stops because of Ctrl-C, so that what was begun is taken away.
struct Interrupted {};

/// To be called first. From then on Ctrl-C (and a request to end) is noted, and calls that wait return.
/// Standard streams that are closed are given something to hold, so that no file that is opened takes their
/// place and gets their text.
void prepareProcess();

bool interrupted();

inline void stopIfInterrupted() {
  if (interrupted()) throw Interrupted{};
}

}  // namespace ctfmeg::cli
