#pragma once

#include <new>

#include <megreader/framework/exceptions.h>
#include <megreader/framework/file_error.h>
#include <megreader/framework/user_interface.h>

/// Runs `operation` and gives its result, or `failed`, without a message, when memory runs out. Other
/// exceptions pass.
template <class Result, class Operation>
Result guardedAgainstMemory(const CString& file, Result failed, Operation operation) {
  try {
    return operation();
  } catch (CMemoryException* error) {
    error->Delete();
  } catch (const std::bad_alloc&) {  // the same outcome
  }
  reportFinding({.code = "memory", .file = file, .text = L"needs more memory than there is"});
  return failed;
}

/// The same for file errors: one shows `text`, is reported with `severity`, and gives `failed`.
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

/// Against both.
template <class Result, class Operation>
Result guarded(const wchar_t* fileErrorText, const CString& file, Result failed, Operation operation) {
  return guardedAgainstFileErrors(fileErrorText, failed,
                                  [&] { return guardedAgainstMemory(file, failed, operation); });
}
