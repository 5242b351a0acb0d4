#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "base/memory_range.h"

namespace ctfmeg {
namespace {

std::error_code errorOf(int number) { return {number, std::generic_category()}; }

/// A new file without a name, for its owner only; negative, and errno says why, when there is none.
int openNameless(const std::string& directory) {
  int file = -1;
#ifdef O_TMPFILE
  file = open(directory.c_str(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) return file;
#endif
  // Some file systems can only take the name away again, while nothing is in the file yet.
  std::string name = directory + "/.megreader-XXXXXX";
  file = mkostemp(name.data(), O_CLOEXEC);
  if (file < 0 || unlink(name.c_str()) == 0) return file;
  const int reason = errno;
  close(file);
  errno = reason;
  return -1;
}

/// Growing a file beyond this process's limit would end the process, too.
bool isBeyondLimit(std::size_t end) {
  rlimit most{};
  return getrlimit(RLIMIT_FSIZE, &most) == 0 && most.rlim_cur != RLIM_INFINITY && end > most.rlim_cur;
}

/// Makes the disk's room for a part of a file certain: a page that there is no room for would end the process
/// when it is written. The error number, or 0.
int takeRoom(int file, std::size_t offset, std::size_t bytes) {
  constexpr std::size_t kPiece = std::size_t{1} << 26;
  if (isBeyondLimit(offset + bytes)) return EFBIG;
  while (bytes > 0) {
    const std::size_t piece = std::min(bytes, kPiece);
    const int reason = posix_fallocate(file, static_cast<off_t>(offset), static_cast<off_t>(piece));
    if (reason == EINTR) continue;
    if (reason != 0) return reason;
    offset += piece;
    bytes -= piece;
  }
  return 0;
}

}  // namespace

bool MemoryRange::reserve(std::size_t bytes) {
  release();
  if (bytes == 0) return true;
  void* mapped =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) return false;
  m_data = mapped;
  m_size = bytes;
#ifdef MADV_HUGEPAGE
  // Samples are written once, front to back: huge pages save most of the page faults. Only advice.
  madvise(m_data, m_size, MADV_HUGEPAGE);
#endif
  return true;
}

std::error_code MemoryRange::reserveInFile(const std::filesystem::path& directory, std::size_t bytes,
                                           std::size_t expected) {
  release();
  const int file = openNameless((directory.empty() ? largeTemporaryFolder() : directory).native());
  if (file < 0) return errorOf(errno);
  m_file = file;
  int reason = isBeyondLimit(bytes) ? EFBIG : takeRoom(file, 0, expected);
  if (reason == 0 && ftruncate(file, static_cast<off_t>(bytes)) != 0) reason = errno;
  if (reason != 0) {
    release();
    return errorOf(reason);
  }
  void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (mapped == MAP_FAILED) {
    reason = errno;
    release();
    return errorOf(reason);
  }
  m_data = mapped;
  m_size = bytes;
  m_onDisk = expected;
  return {};
}

std::error_code MemoryRange::use(std::size_t offset, std::size_t bytes) {
  if (m_file < 0 || offset + bytes <= m_onDisk) return {};  // every page is ready
  return errorOf(takeRoom(static_cast<int>(m_file), offset, bytes));
}

void MemoryRange::release() {
  if (m_data != nullptr) munmap(m_data, m_size);
  if (m_file >= 0) close(static_cast<int>(m_file));
  m_data = nullptr;
  m_size = 0;
  m_file = -1;
  m_onDisk = 0;
}

std::filesystem::path largeTemporaryFolder() { return "/var/tmp"; }

}  // namespace ctfmeg
