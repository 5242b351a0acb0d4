#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "simulate/output_file.h"

namespace ctfmeg::simulate {

inline constexpr std::int64_t kMeg4HeaderBytes = 8;

// Writes the sample files <stem>.meg4, <stem>.1_meg4, <stem>.2_meg4 and so on. Each begins with the same
// header and holds whole trials, because a trial never straddles two files.
class Meg4Writer {
 public:
  Meg4Writer(const std::filesystem::path& stem, int trialsPerFile);

  void writeTrial(std::span<const char> trial);
  void close();

 private:
  void openNext();

  std::filesystem::path stem_;
  int trialsPerFile_;
  int filesOpened_ = 0;
  int trialsInFile_ = 0;
  std::optional<OutputFile> file_;
};

}  // namespace ctfmeg::simulate
