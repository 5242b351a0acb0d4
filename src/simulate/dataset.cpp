#include "simulate/dataset.h"

#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "simulate/channels.h"
#include "simulate/damage.h"
#include "simulate/files.h"

namespace ctfmeg::simulate {

namespace fs = std::filesystem;

namespace {

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

/// A new directory that is removed with its content unless it was renamed.
class TemporaryDirectory {
 public:
  explicit TemporaryDirectory(const fs::path& path) : m_path(path) {
    if (fs::create_directory(m_path)) return;
    throw fs::filesystem_error("cannot create directory", m_path,
                               std::make_error_code(std::errc::file_exists));
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    if (!m_path.empty()) fs::remove_all(m_path, ignored);
  }

  const fs::path& path() const { return m_path; }

  void renameTo(const fs::path& finalPath) {
    fs::rename(m_path, finalPath);
    m_path.clear();
  }

 private:
  fs::path m_path;
};

}  // namespace

void writeDataset(const fs::path& directory, const Options& options, const Progress& progress) {
  validate(options);
  const fs::path target = withoutTrailingSeparator(directory);
  if (target.extension() != ".ds") throw std::invalid_argument("OUT.ds must have a name ending in .ds");
  requireNew(target);

  const std::vector<Channel> channels = makeChannels(options.channels);
  TemporaryDirectory temporary(fs::path(target) += randomSuffix());
  const fs::path stem = temporary.path() / target.stem();
  writeRes4(stem, options, channels);
  writeSideFiles(stem, options, channels);
  writeMeg4(stem, options, channels, progress);
  applyDamage({temporary.path(), stem, options});

  requireNew(target);  // a rename may replace an empty directory made meanwhile
  temporary.renameTo(target);
}

}  // namespace ctfmeg::simulate
