#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/command.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

// The command when it can't end its work, and when a dataset wants to take over who reads its output.

namespace {

namespace fs = std::filesystem;

/// A command that takes a while to write `result` into a directory of its own.
class Writing : public testing::TestWithParam<const char*> {
 protected:
  Writing() {
    MinimalDataset dataset;
    dataset.resize(1, 2, 100000);
    dataset.res4.put(1312, Bytes().i16(400));
    const fs::path given = dataset.write(m_source.path()).parent_path();
    fs::resize_file(given / "run.meg4", 8 + 400 * 2 * 100000 * 4LL);  // a hole: takes no room
    const std::string result = (m_directory.path() / "result").string();
    if (GetParam() == std::string("export"))
      arguments = {CTFMEG_COMMAND, "export", given.string(), "-o", result + ".npy"};
    else
      arguments = {CTFMEG_COMMAND, "simulate", result + ".ds", "--trials", "400",
                   "--samples",    "20000",    "--channels",   "10"};
  }

  std::vector<fs::path> there() const { return {fs::directory_iterator(m_directory.path()), {}}; }

  std::vector<std::string> arguments;

 private:
  TemporaryDirectory m_source, m_directory;
};

TEST_P(Writing, StopsWithoutALeftoverWhenItIsInterrupted) {
  std::vector<char*> argv;
  for (std::string& argument : arguments)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXCPU}) {
    int status = 0;
    for (int attempt = 0; attempt < 5 && status == 0; ++attempt) {  // it may be done before the signal comes
      for (const fs::path& result : there())
        fs::remove_all(result);
      const pid_t child = fork();
      if (child == 0) {
        std::signal(signal, SIG_DFL);
        execv(argv[0], argv.data());
        _exit(127);
      }
      for (int wait = 0; wait < 10000 && there().empty(); ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      kill(child, signal);
      waitpid(child, &status, 0);
    }
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_EQ(there(), std::vector<fs::path>{});
  }
}

TEST_P(Writing, StopsWithoutALeftoverWhenThereIsNoMoreRoom) {
  // A limit on files stands in for a full disk, which takes rights that tests don't have.
  std::string script = "ulimit -f 100; exec \"$0\" \"$@\"";
  arguments.insert(arguments.begin(), {"-c", script});
  const CommandResult result = runCommand("sh", arguments);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.err.find("result."), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("can't be written: File too large\n"), std::string::npos) << result.err;
  EXPECT_EQ(there(), std::vector<fs::path>{});
}

INSTANTIATE_TEST_SUITE_P(Command, Writing, testing::Values("export", "simulate"),
                         [](const auto& command) { return std::string(command.param); });

TEST(Output, SaysWhatTheSystemRefuses) {
  const TemporaryDirectory directory;
  const fs::path dataset = MinimalDataset().write(directory.path()).parent_path();
  const auto errorOf = [](const std::string& command) {
    const CommandResult result = runCommand("/bin/sh", {"-c", "exec '" CTFMEG_COMMAND "' " + command});
    EXPECT_EQ(result.exitCode, 1) << command;
    return result.err;
  };
  EXPECT_TRUE(errorOf("info 'x\x1b[31m.ds'").starts_with("ctfmeg: x\\x1b[31m.ds: "));
  if (fs::exists("/dev/full")) {
    const std::string full = "can't be written: No space left on device\n";
    EXPECT_EQ(errorOf("export '" + dataset.string() + "' -o /dev/full"), "ctfmeg: /dev/full: " + full);
    EXPECT_EQ(errorOf("info '" + dataset.string() + "' >/dev/full"), "ctfmeg: standard output: " + full);
  }
  if (geteuid() == 0) return;  // who may read everything
  fs::permissions(dataset / "run.res4", fs::perms::none);
  EXPECT_NE(errorOf("info '" + dataset.string() + "'").find("run.res4: can't be read: Permission denied"),
            std::string::npos);
}

TEST(Output, ADatasetCannotTakeOverTheTerminalOrTheSpreadsheet) {
  const TemporaryDirectory directory;
  MinimalDataset dataset;
  // Of the second, the bytes 9D and 81 are controls in Windows-1252.
  const std::string title = "\x1b]0;title\x07\x9D\x81\x7F", formula = "=cmd()\n\x1b[2J,\"";
  dataset.res4.put(1712, Bytes().raw(title));
  dataset.res4.put(MinimalDataset::kNames, Bytes().text(formula, 32));
  const fs::path file = dataset.write(directory.path());
  writeFile(file.parent_path() / "BadChannels", formula + "\n" + title + "\n");
  const auto run = [&](std::vector<std::string> arguments) {
    arguments.push_back(file.string());
    const CommandResult result = runCommand(CTFMEG_COMMAND, arguments);
    const std::string all = result.out + result.err;
    for (std::size_t i = 0; i < all.size(); ++i) {
      const auto c = static_cast<unsigned char>(all[i]);
      EXPECT_TRUE((c >= 0x20 && c != 0x7F) || c == '\n' || c == '\r') << arguments[0];
      const bool second = c == 0xC2 && static_cast<unsigned char>(all[i + 1]) < 0xA0;
      EXPECT_FALSE(second) << "a control beyond ASCII: " << arguments[0];
    }
    return result.out;
  };
  EXPECT_NE(run({"info"}).find("\\x1b]0;title\\x07\\xc2\\x9d"), std::string::npos);
  run({"info", "--rules", title});
  run({"info", "--split", "\u202E" + title});
  writeFile(file.parent_path() / "MarkerFile.mrk",
            "NUMBER OF MARKERS:\n1\n\nCLASSGROUPID:\n3\nNAME:\n \xA0=cmd()\nNUMBER OF SAMPLES:\n1\nLIST OF "
            "SAMPLES:\nTRIAL\n+0 +0\n");
  EXPECT_NE(run({"markers", "--csv"}).find("\r\n'"), std::string::npos);
  run({"channels"});
  const std::string table = run({"channels", "--csv"});
  EXPECT_NE(table.find("\r\n0,\"'=cmd()\\x0a\\x1b[2J,\"\"\","), std::string::npos) << table;
  EXPECT_EQ(nlohmann::json::parse(run({"info", "--json"})).at("channels")[0].at("name"), formula);
}

}  // namespace
