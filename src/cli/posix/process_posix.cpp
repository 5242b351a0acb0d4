#include "cli/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <csignal>
#include <initializer_list>

namespace ctfmeg::cli {
namespace {

volatile std::sig_atomic_t noted = 0;

void note(int /*signal*/) { noted = 1; }

/// The first signal is noted, so that what was begun is taken away; the second ends the program at once.
/// A signal that whoever started the program wants ignored stays so.
void noteSignal(int signal) {
  struct sigaction action {};
  if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = note;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(signal, &action, nullptr);
}

/// The wrong way round, so that using the stream still fails.
void fillClosedStream(int stream) {
  if (fcntl(stream, F_GETFD) != -1) return;
  const int filler = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  if (filler != stream && filler >= 0) close(filler);
}

int columnsOf(int descriptor) {
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

void prepareProcess() {
#ifdef __GLIBC__
  // A program that ends soon does better to use its memory again than to give it back in between.
  mallopt(M_MMAP_THRESHOLD, 1 << 28);
  mallopt(M_TRIM_THRESHOLD, 1 << 28);
  mallopt(M_TOP_PAD, 1 << 20);
#endif
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    fillClosedStream(stream);
  // SIGPIPE: nobody reads the output any more. SIGXCPU: the time that a batch system grants is over.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXCPU})
    noteSignal(signal);
  std::signal(SIGXFSZ, SIG_IGN);  // a limit on the size of files is an error of the write that meets it
}

std::vector<std::string> programArguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

bool interrupted() { return noted != 0; }

bool inputIsTerminal() { return isatty(STDIN_FILENO) == 1; }
bool outputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }
bool errorsAreTerminal() { return isatty(STDERR_FILENO) == 1; }

int outputColumns() { return columnsOf(STDOUT_FILENO); }
int errorColumns() { return columnsOf(STDERR_FILENO); }

bool inputIsReady() {
  constexpr int kMilliseconds = 100;
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, kMilliseconds) > 0;
}

}  // namespace ctfmeg::cli
