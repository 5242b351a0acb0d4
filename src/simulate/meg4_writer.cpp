#include "simulate/meg4_writer.h"

#include <string>
#include <string_view>

namespace ctfmeg::simulate {

namespace {

constexpr std::string_view kHeader("MEG41CP\0", kMeg4HeaderBytes);

std::string extension(int fileIndex) {
  return fileIndex == 0 ? ".meg4" : "." + std::to_string(fileIndex) + "_meg4";
}

}  // namespace

Meg4Writer::Meg4Writer(const std::filesystem::path& stem, int trialsPerFile)
    : stem_(stem), trialsPerFile_(trialsPerFile) {}

void Meg4Writer::writeTrial(std::span<const char> trial) {
  if (!file_ || trialsInFile_ == trialsPerFile_) openNext();
  file_->write(trial);
  ++trialsInFile_;
}

void Meg4Writer::close() {
  if (file_) file_->close();
  file_.reset();
}

void Meg4Writer::openNext() {
  close();
  std::filesystem::path path = stem_;
  path += extension(filesOpened_++);
  file_.emplace(path);
  file_->write(kHeader);
  trialsInFile_ = 0;
}

}  // namespace ctfmeg::simulate
