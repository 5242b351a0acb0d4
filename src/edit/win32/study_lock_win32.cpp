#include "edit/study_files.h"

#include <windows.h>

#include <system_error>

#include "edit/system_files.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {

bool StudyLock::take() {
  HANDLE file = ::CreateFileW(reachable(m_file).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    m_handle = reinterpret_cast<std::intptr_t>(file);
    return true;
  }
  // A file that is about to be deleted can't be opened, which is told as being denied.
  const DWORD reason = ::GetLastError();
  if (reason == ERROR_SHARING_VIOLATION || (reason == ERROR_ACCESS_DENIED && ++m_denied < 100)) return false;
  failWriting(m_file, {static_cast<int>(reason), std::system_category()});
}

StudyLock::~StudyLock() { ::CloseHandle(reinterpret_cast<HANDLE>(m_handle)); }

}  // namespace ctfmeg::edit
