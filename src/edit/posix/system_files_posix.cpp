#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#ifdef __linux__
#include <linux/fs.h>
#endif

#include "edit/system_files.h"

#include <ctfmeg/finding.h>

namespace ctfmeg::edit {
namespace {

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

class Descriptor {
 public:
  Descriptor(const fs::path& path, int flags, mode_t mode = 0)
      : m_descriptor(::open(path.c_str(), flags | O_CLOEXEC, mode)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (m_descriptor >= 0) ::close(m_descriptor);
  }

  int get() const { return m_descriptor; }
  bool isOpen() const { return m_descriptor >= 0; }
  bool close() { return ::close(std::exchange(m_descriptor, -1)) == 0; }

 private:
  int m_descriptor;
};

/// What a system says that can't do this between these two files.
bool cantDo(int error) {
  return error == ENOSYS || error == EXDEV || error == EINVAL || error == EOPNOTSUPP || error == EPERM ||
         error == EBADF || error == ETXTBSY || error == EOVERFLOW;
}

#ifdef __linux__

bool sharesBlocks(int from, int to, std::uint64_t bytes) {
  struct stat status {};
  return ::fstat(from, &status) == 0 && static_cast<std::uint64_t>(status.st_size) == bytes &&
         ::ioctl(to, FICLONE, from) == 0;
}

/// One piece; 0 at the end of the file, negative when that fails.
ssize_t copyPiece(int from, int to, std::uint64_t bytes) {
  constexpr std::uint64_t kPiece = 1 << 26;  // so that a stop is noticed
  return ::copy_file_range(from, nullptr, to, nullptr, std::min(bytes, kPiece), 0);
}

#else

bool sharesBlocks(int, int, std::uint64_t) { return false; }
ssize_t copyPiece(int, int, std::uint64_t) {
  errno = ENOSYS;
  return -1;
}

#endif

}  // namespace

bool copyWithinSystem(const fs::path& from, const fs::path& to, std::uint64_t bytes,
                      const std::function<void(std::uint64_t)>& goOn) {
  const Descriptor source(from, O_RDONLY | O_NONBLOCK);
  if (!source.isOpen()) return false;  // reading by hand says why
  Descriptor copy(to, O_WRONLY | O_CREAT | O_EXCL, 0666);
  if (!copy.isOpen()) failWriting(to, lastError());
  std::uint64_t done = 0;
  if (sharesBlocks(source.get(), copy.get(), bytes)) done = bytes;
  while (done < bytes) {
    const ssize_t piece = copyPiece(source.get(), copy.get(), bytes - done);
    if (piece < 0 && errno == EINTR) continue;
    // Some file systems copy nothing and say so, though the file goes on.
    if (piece == 0 || (piece < 0 && (cantDo(errno) || errno == EIO))) {
      ::unlink(to.c_str());
      return false;
    }
    if (piece < 0) failWriting(to, lastError());
    done += static_cast<std::uint64_t>(piece);
    goOn(done);
  }
  if (!copy.close()) failWriting(to, lastError());
  return true;
}

std::error_code moveToNewName(const fs::path& from, const fs::path& to) {
#ifdef RENAME_NOREPLACE
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (!cantDo(errno)) return lastError();
#endif
  // A file system that knows only the older call would replace an empty directory.
  if (::access(to.c_str(), F_OK) == 0) return std::make_error_code(std::errc::file_exists);
  return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
}

void date1970(const fs::path& path) {
  const timespec times[2]{};
  if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) failWriting(path, lastError());
}

}  // namespace ctfmeg::edit
