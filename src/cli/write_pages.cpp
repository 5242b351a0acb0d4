#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "cli/command_line.h"

// Run by the build: writes the manual page and the completions into the folders, below the one that it is
// given, where a system looks for them.

namespace {

void write(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  out << text;
  if (!out.flush()) throw std::runtime_error(file.string() + ": can't be written");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: ctfmeg_pages DIRECTORY\n", stderr);
    return 2;
  }
  try {
    const std::filesystem::path share = argv[1];
    const auto page = ctfmeg::cli::describeCommandLine();
    write(share / "man/man1/ctfmeg.1", manPage(page, CTFMEG_VERSION));
    write(share / "bash-completion/completions/ctfmeg", bashCompletion(page));
    write(share / "zsh/site-functions/_ctfmeg", zshCompletion(page));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ctfmeg_pages: %s\n", error.what());
    return 1;
  }
  return 0;
}
