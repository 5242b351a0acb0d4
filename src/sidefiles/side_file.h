#pragma once

#include "hosts/framework/file_search.h"
#include <megreader/framework/user_interface.h>
#include "util/file_bytes.h"
#include "util/guarded.h"
#include "util/line_source.h"

/// A recording can be used without it.
inline constexpr Finding::Severity kOptional = Finding::Severity::warning;

/// How a file beside a recording is opened, and what is shown when it can't be. Most share these texts; hosts
/// know them from all of them.
struct SideFileManner {
  const wchar_t* openError = L"Open file Failed";  ///< %s is the path, %u the file error's cause
  const wchar_t* readError = L"Reading trigger error!";
  unsigned flags = CFile::modeRead | CFile::shareDenyNone;
};

/// Opens a file beside a recording and gives the result of `read(file)`: 0, without a message, when there is
/// no such file; 0 with the manner's message when it can't be opened. Throws what reading throws.
template <class Read>
int openSideFile(const CString& path, const SideFileManner& manner, Read read) {
  if (!fileExists(path)) return 0;
  CFile file;
  CFileException error;
  if (openForReading(file, path, manner.flags, error, kOptional)) return read(file);
  CString message;
  message.Format(manner.openError, path, static_cast<unsigned>(error.m_cause));
  AfxMessageBox(message);
  return 0;
}

/// The same, and a file that can't be read shows the manner's message and gives 0.
template <class Read>
int readSideFile(const CString& path, const SideFileManner& manner, Read read) {
  return guardedAgainstFileErrors(
      manner.readError, 0, [&] { return openSideFile(path, manner, read); }, kOptional);
}

/// The same for `read(lines)`.
template <class Read>
int readSideLines(const CString& path, const SideFileManner& manner, const ReadingRules& rules, Read read) {
  return readSideFile(path, manner, [&](CFile& file) {
    LineSource lines(file, rules);
    return read(lines);
  });
}
