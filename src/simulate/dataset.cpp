#include "simulate/dataset.h"

#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "simulate/channel.h"
#include "simulate/channel_list.h"
#include "simulate/event_files.h"
#include "simulate/head_files.h"
#include "simulate/infods_writer.h"
#include "simulate/meg4_writer.h"
#include "simulate/res4_writer.h"
#include "simulate/trial_synthesis.h"

namespace ctfmeg::simulate {

namespace fs = std::filesystem;

namespace {

fs::path withSuffix(fs::path path, const std::string& suffix) { return path += suffix; }

fs::path withoutTrailingSeparator(const fs::path& path) {
  return path.has_filename() ? path : path.parent_path();
}

void requireNew(const fs::path& directory) {
  // The link itself counts: a dangling link would be replaced by the rename.
  if (!fs::exists(fs::symlink_status(directory))) return;
  throw fs::filesystem_error("cannot write dataset", directory, std::make_error_code(std::errc::file_exists));
}

std::string randomSuffix() {
  std::random_device device;
  std::ostringstream suffix;
  suffix << ".partial-" << std::hex << device() << device();
  return suffix.str();
}

// A new directory that is removed with its content unless it was renamed.
class TemporaryDirectory {
 public:
  explicit TemporaryDirectory(const fs::path& path) : path_(path) {
    if (fs::create_directory(path_)) return;
    throw fs::filesystem_error("cannot create directory", path_,
                               std::make_error_code(std::errc::file_exists));
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
  }

  const fs::path& path() const { return path_; }

  void renameTo(const fs::path& finalPath) {
    fs::rename(path_, finalPath);
    path_.clear();
  }

 private:
  fs::path path_;
};

void writeTrials(const fs::path& stem, const Options& options, const std::vector<Channel>& channels,
                 const Progress& progress) {
  TrialSynthesis synthesis(options, channels);
  Meg4Writer writer(stem, trialsPerFile(options));
  for (int trial = 0; trial < options.trials; ++trial) {
    writer.writeTrial(synthesis.nextTrial());
    if (progress && !progress(trial + 1, options.trials)) throw Stopped{};
  }
  writer.close();
}

}  // namespace

void writeDataset(const fs::path& directory, const Options& options, const Progress& progress) {
  validate(options);
  const fs::path target = withoutTrailingSeparator(directory);
  if (target.extension() != ".ds") throw std::invalid_argument("directory must have a name ending in .ds");
  requireNew(target);

  const std::vector<Channel> channels = makeChannels(options.channels);
  TemporaryDirectory temporary(withSuffix(target, randomSuffix()));
  const fs::path stem = temporary.path() / target.stem();
  writeRes4(withSuffix(stem, ".res4"), options, channels);
  writeInfods(withSuffix(stem, ".infods"), options);
  writeHeadFiles(stem, channels);
  writeEventFiles(temporary.path(), options, channels);
  writeTrials(stem, options, channels, progress);

  requireNew(target);  // a rename may replace an empty directory made meanwhile
  temporary.renameTo(target);
}

}  // namespace ctfmeg::simulate
