#pragma once

#include <new>

#include "base/finding_codes.h"

#include <megreader/framework/cfile.h>
#include <megreader/framework/exceptions.h>
#include <megreader/framework/finding.h>
#include <megreader/framework/user_interface.h>

/// Opens a file for reading. On failure reports a finding that says why.
inline bool openOrReport(CFile& file, const CString& path, unsigned flags, CFileException& error,
                         Finding::Severity severity) {
  if (file.Open(path, flags, &error)) return true;
  reportFinding(findingOf(error, severity));
  return false;
}

/// Reports that there is no memory for what `file` holds.
inline void reportMemory(const CString& file, Finding::Severity severity = Finding::Severity::error) {
  reportFinding({.severity = severity,
                 .code = ctfmeg::wordOf(ctfmeg::Code::memory),
                 .file = file,
                 .text = L"needs more memory than there is"});
}

/// Runs `operation` and returns its result, or `failed`, without a message, when memory runs out. Other
/// exceptions pass.
template <class Result, class Operation>
Result guardedAgainstMemory(const CString& file, Result failed, Operation operation) {
  try {
    return operation();
  } catch (CMemoryException* error) {
    error->Delete();
  } catch (const std::bad_alloc&) {  // the same outcome
  }
  reportMemory(file);
  return failed;
}

/// Does the same with file errors: one shows `text`, is reported with `severity`, and returns `failed`.
template <class Result, class Operation>
Result guardedAgainstFileErrors(const wchar_t* text, Result failed, Operation operation,
                                Finding::Severity severity = Finding::Severity::error) {
  try {
    return operation();
  } catch (CFileException* error) {
    reportFinding(findingOf(*error, severity));
    error->Delete();
    AfxMessageBox(text);
    return failed;
  }
}

/// Guards against both.
template <class Result, class Operation>
Result guarded(const wchar_t* fileErrorText, const CString& file, Result failed, Operation operation) {
  return guardedAgainstFileErrors(fileErrorText, failed,
                                  [&] { return guardedAgainstMemory(file, failed, operation); });
}
