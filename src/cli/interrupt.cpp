#include "cli/interrupt.h"

#include <csignal>

namespace ctfmeg::cli {
namespace {

volatile std::sig_atomic_t noted = 0;

void note(int /*signal*/) { noted = 1; }

}  // namespace

void noteInterrupts() {
  std::signal(SIGINT, note);
  std::signal(SIGTERM, note);
}

bool interrupted() { return noted != 0; }

}  // namespace ctfmeg::cli
