#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

// The command with somebody at a terminal.

namespace {

namespace fs = std::filesystem;

/// The command on a terminal of its own.
class AtATerminal {
 public:
  explicit AtATerminal(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), CTFMEG_COMMAND);
    std::vector<char*> argv;
    for (std::string& argument : arguments)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    m_child = forkpty(&m_terminal, nullptr, nullptr, nullptr);
    if (m_child == 0) {
      execv(argv[0], argv.data());
      _exit(127);
    }
  }
  AtATerminal(const AtATerminal&) = delete;
  AtATerminal& operator=(const AtATerminal&) = delete;
  ~AtATerminal() { close(m_terminal); }

  /// Reads on until `text` is there, after what was read before. False when it never comes.
  bool shows(const std::string& text) {
    for (;;) {
      if (const auto at = m_shown.find(text); at != std::string::npos) {
        m_shown.erase(0, at + text.size());
        return true;
      }
      if (!readMore()) return false;
    }
  }

  void types(const std::string& text) {
    ASSERT_EQ(write(m_terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  int exitCode() {
    while (readMore()) {
    }
    int status = 0;
    waitpid(m_child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  bool readMore() {
    constexpr int kPatienceMs = 20'000;
    pollfd waiting{m_terminal, POLLIN, 0};
    if (poll(&waiting, 1, kPatienceMs) != 1) {
      kill(m_child, SIGKILL);
      return false;
    }
    char bytes[4096];
    const ssize_t got = read(m_terminal, bytes, sizeof bytes);
    if (got <= 0) return false;
    m_shown.append(bytes, static_cast<std::size_t>(got));
    return true;
  }

  int m_terminal = -1;
  pid_t m_child = -1;
  std::string m_shown;
};

TEST(Terminal, AsksAndShowsABar) {
  const TemporaryDirectory directory;
  const fs::path run = MinimalDataset().write(directory.path()).parent_path();
  const fs::path other = run / "run.txt";  // no file of a dataset by its name: worth a question
  writeFile(other, readFile(run / "run.res4"));
  const fs::path result = directory.path() / "out.npy";
  const std::vector<std::string> exporting{"export", other.string(), "-o", result.string()};
  const struct {
    const char *answer, *then;
    int exitCode;
  } cases[] = {{"n\n", "", 1},
               {"\x03", "", 130},
               {"n\x15"
                "y\n",
                "] 100%", 0}};  // Ctrl-C; Ctrl-U takes a line back
  for (const auto& [answer, then, exitCode] : cases) {
    AtATerminal user(exporting);
    ASSERT_TRUE(user.shows("Would you like to continue?"));
    user.types(answer);
    EXPECT_TRUE(user.shows(then));
    EXPECT_EQ(user.exitCode(), exitCode);
    EXPECT_EQ(fs::exists(result), exitCode == 0);
  }
  AtATerminal binary({"export", run.string(), "-o", "-"});
  EXPECT_TRUE(binary.shows("is a terminal: name a file with -o"));
  EXPECT_EQ(binary.exitCode(), 1);
}

}  // namespace
