#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <megreader/framework/cfile.h>
#include <megreader/framework/native_path.h>

namespace {

int causeOf(int osError) {
  switch (osError) {
    case ENOENT:
      return CFileException::fileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
      return CFileException::badPath;
    case EACCES:
    case EPERM:
      return CFileException::accessDenied;
    case EMFILE:
    case ENFILE:
      return CFileException::tooManyOpenFiles;
    default:
      return CFileException::genericException;
  }
}

int descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

}  // namespace

bool CFile::Open(const CString& path, unsigned /*flags*/, CFileException* error) {
  Close();
  // Without O_NONBLOCK, opening a FIFO would wait for a writer for ever.
  const int opened = ::open(toNativePath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (opened < 0) {
    const int reason = errno;
    // A link to nowhere is there: not the same as no file.
    struct stat link {};
    const bool dangling = reason == ENOENT && lstat(toNativePath(path).c_str(), &link) == 0;
    return refuse(error, path, dangling ? CFileException::badPath : causeOf(reason), reason);
  }
  struct stat status {};
  if (fstat(opened, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(opened);
    // A directory as on Windows; a pipe or device has no error number of its own.
    return S_ISDIR(status.st_mode) ? refuse(error, path, CFileException::accessDenied, EISDIR)
                                   : refuse(error, path, CFileException::genericException, -1);
  }
  m_handle = opened;
  m_path = path;
  return true;
}

std::size_t CFile::Read(void* buffer, std::size_t count) {
  if (m_handle == kClosed) fail(CFileException::invalidFile, EBADF);
  auto* next = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count) {
    const ssize_t got = ::read(descriptor(m_handle), next + total, count - total);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(CFileException::hardIO, errno);
    if (got == 0) break;
    total += static_cast<std::size_t>(got);
  }
  return total;
}

std::size_t CFile::ReadAt(std::uint64_t offset, void* buffer, std::size_t count) const {
  if (m_handle == kClosed) fail(CFileException::invalidFile, EBADF);
  auto* next = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count) {
    const ssize_t got =
        ::pread(descriptor(m_handle), next + total, count - total, static_cast<off_t>(offset + total));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(CFileException::hardIO, errno);
    if (got == 0) break;
    total += static_cast<std::size_t>(got);
  }
  return total;
}

std::uint64_t CFile::Seek(std::int64_t offset, SeekPosition from) {
  const int whence = from == begin ? SEEK_SET : from == current ? SEEK_CUR : SEEK_END;
  const off_t position = ::lseek(descriptor(m_handle), offset, whence);
  if (position < 0) fail(CFileException::badSeek, errno);
  return static_cast<std::uint64_t>(position);
}

std::uint64_t CFile::GetLength() const {
  struct stat status {};
  if (fstat(descriptor(m_handle), &status) != 0) fail(CFileException::invalidFile, errno);
  return static_cast<std::uint64_t>(status.st_size);
}

std::uint64_t CFile::GetPosition() const {
  const off_t position = ::lseek(descriptor(m_handle), 0, SEEK_CUR);
  if (position < 0) fail(CFileException::invalidFile, errno);
  return static_cast<std::uint64_t>(position);
}

void CFile::Close() {
  if (m_handle != kClosed) ::close(descriptor(m_handle));
  m_handle = kClosed;
}
