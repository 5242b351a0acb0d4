#include "edit/study_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "edit/system_files.h"

namespace ctfmeg::edit {

bool StudyLock::take() {
  const int descriptor = ::open(m_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor < 0) failWriting(m_file, {errno, std::generic_category()});
  // Who had it before has removed the file: a lock on it keeps nobody out.
  struct stat mine {
  }, there{};
  if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
    if (::fstat(descriptor, &mine) == 0 && ::stat(m_file.c_str(), &there) == 0 &&
        mine.st_ino == there.st_ino && mine.st_dev == there.st_dev) {
      m_handle = descriptor;
      return true;
    }
    errno = EWOULDBLOCK;
  }
  const int reason = errno;
  ::close(descriptor);
  if (reason != EWOULDBLOCK && reason != EINTR) failWriting(m_file, {reason, std::generic_category()});
  return false;
}

StudyLock::~StudyLock() {
  ::unlink(m_file.c_str());  // while it is locked: whoever waits for this file notices
  ::close(static_cast<int>(m_handle));
}

}  // namespace ctfmeg::edit
