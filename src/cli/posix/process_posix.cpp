#include "cli/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

namespace ctfmeg::cli {
namespace {

volatile std::sig_atomic_t noted = 0;

void note(int /*signal*/) { noted = 1; }

void noteSignal(int signal) {
  struct sigaction action {};
  action.sa_handler = note;
  sigaction(signal, &action, nullptr);
}

/// The wrong way round, so that using the stream still fails.
void fillClosedStream(int stream) {
  if (fcntl(stream, F_GETFD) != -1) return;
  const int filler = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  if (filler != stream && filler >= 0) close(filler);
}

}  // namespace

void prepareProcess() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    fillClosedStream(stream);
  noteSignal(SIGINT);
  noteSignal(SIGTERM);
  noteSignal(SIGHUP);
  std::signal(SIGXFSZ, SIG_IGN);  // a limit on the size of files is an error of the write that meets it
}

std::vector<std::string> programArguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

std::FILE* openForWriting(const std::filesystem::path& file, bool mustBeNew) {
  return std::fopen(file.c_str(), mustBeNew ? "wbx" : "wb");
}

bool interrupted() { return noted != 0; }

}  // namespace ctfmeg::cli
