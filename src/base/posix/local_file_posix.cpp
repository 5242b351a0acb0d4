#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/file.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

using Cause = FileError::Cause;

Cause causeOf(int reason) {
  switch (reason) {
    case ENOENT:
      return Cause::notFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
      return Cause::badPath;
    case EACCES:
    case EPERM:
      return Cause::accessDenied;
    case EMFILE:
    case ENFILE:
      return Cause::tooManyOpenFiles;
    default:
      return Cause::generic;
  }
}

class LocalFile : public File {
 public:
  explicit LocalFile(const std::filesystem::path& file) : File(textOf(file)) {}
  ~LocalFile() override {
    if (m_descriptor >= 0) ::close(m_descriptor);
  }

  void open(const std::filesystem::path& file) {
    // Without O_NONBLOCK, opening a FIFO would wait for a writer for ever.
    m_descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_descriptor < 0) {
      const int reason = errno;
      // A link that leads nowhere is there, other than a missing file.
      struct stat link {};
      const bool dangling = reason == ENOENT && lstat(file.c_str(), &link) == 0;
      throw FileError(dangling ? Cause::badPath : causeOf(reason), reason, path());
    }
    struct stat status {};
    if (fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
      m_identity = static_cast<std::uint64_t>(status.st_ino);
      return;
    }
    if (S_ISDIR(status.st_mode)) throw FileError::ofDirectory(EISDIR, path());
    throw FileError(Cause::generic, -1, path());  // a pipe or device has no error number of its own
  }

  std::uint64_t size() const override {
    struct stat status {};
    if (fstat(m_descriptor, &status) != 0) throw FileError(Cause::invalidFile, errno, path());
    return static_cast<std::uint64_t>(status.st_size);
  }

  std::uint64_t identity() const override { return m_identity; }

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    std::size_t total = 0;
    while (total < out.size()) {
      const ssize_t got =
          ::pread(m_descriptor, out.data() + total, out.size() - total, static_cast<off_t>(offset + total));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) throw FileError(Cause::hardIO, errno, path());
      if (got == 0) break;
      total += static_cast<std::size_t>(got);
    }
    return total;
  }

 private:
  int m_descriptor = -1;
  std::uint64_t m_identity = 0;
};

}  // namespace

OpenFile openLocalFile(const std::filesystem::path& path, Sharing /*sharing*/) {
  auto file = std::make_shared<LocalFile>(path);
  file->open(path);
  return file;
}

bool isThere(const std::filesystem::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) return true;
  // Whatever else hides a file is said when it is opened: only what can't be there is passed over in silence.
  return errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG && errno != ELOOP;
}

}  // namespace ctfmeg
