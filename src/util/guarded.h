#pragma once

#include <new>

#include "framework/exceptions.h"
#include "framework/file_error.h"
#include "framework/user_interface.h"

/// Runs `operation` on `file`, which matters as much as `severity` says, and gives its result, or `failed`,
/// without a message, when memory runs out.
template <class Result, class Operation>
Result guardedAgainstMemory(const CString& file, Result failed, Operation operation,
                            Finding::Severity severity = Finding::Severity::error) {
  try {
    return operation();
  } catch (CMemoryException* error) {
    error->Delete();
  } catch (const std::bad_alloc&) {  // the same outcome
  }
  reportFinding(
      {.severity = severity, .code = "memory", .file = file, .text = L"needs more memory than there is"});
  return failed;
}

/// As above; a file error shows `fileErrorText` and gives `failed`. Other exceptions pass.
template <class Result, class Operation>
Result guarded(const wchar_t* fileErrorText, const CString& file, Result failed, Operation operation,
               Finding::Severity severity = Finding::Severity::error) {
  try {
    return guardedAgainstMemory(file, failed, operation, severity);
  } catch (CFileException* error) {
    reportFinding(findingOf(*error, severity));
    error->Delete();
    AfxMessageBox(fileErrorText);
    return failed;
  }
}
