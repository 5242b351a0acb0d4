#pragma once

namespace ctfmeg::cli {

/// Thrown where work stops because of Ctrl-C, so that what was begun is taken away.
struct Interrupted {};

/// From now on Ctrl-C (and a request to end) is only noted.
void noteInterrupts();
bool interrupted();

inline void stopIfInterrupted() {
  if (interrupted()) throw Interrupted{};
}

}  // namespace ctfmeg::cli
