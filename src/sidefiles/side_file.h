#pragma once

#include "framework/file_search.h"
#include "framework/user_interface.h"
#include "util/file_bytes.h"
#include "util/guarded.h"
#include "util/line_source.h"

/// A recording can be used without it.
inline constexpr Finding::Severity kOptional = Finding::Severity::warning;

/// What every text file beside a recording shares: it may be missing, which gives 0 and says nothing; one
/// that can't be opened shows "Open file Failed", one that can't be read `readError`, and either gives 0.
/// Else the result is that of `read(lines)`.
template <class Read>
int readSideFile(const CString& path, const wchar_t* readError, const ReadingRules& rules, Read read) {
  if (!fileExists(path)) return 0;
  return guarded(
      readError, path, 0,
      [&] {
        CFile file;
        CFileException error;
        if (!openShared(file, path, error, kOptional)) {
          AfxMessageBox(L"Open file Failed");
          return 0;
        }
        LineSource lines(file, rules);
        return read(lines);
      },
      kOptional);
}

/// What the readers of most of these files show when one can't be read; hosts know it from all of them.
inline constexpr const wchar_t* kReadError = L"Reading trigger error!";
