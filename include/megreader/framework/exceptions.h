#pragma once

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// Base of the framework's exceptions. They are thrown as pointers; whoever catches one calls `Delete()` on
/// it.
class MEGREADER_API CException {
 public:
  CException() = default;
  CException(const CException&) = delete;
  CException& operator=(const CException&) = delete;
  virtual ~CException();
  void Delete() { delete this; }
};

/// A file could not be opened, read or positioned.
class MEGREADER_API CFileException : public CException {
 public:
  /// Causes, with the framework's numbers: hosts show them in "Can't open file ..., error = ...".
  enum Cause : int {
    none = 0,
    genericException = 1,
    fileNotFound = 2,
    badPath = 3,
    tooManyOpenFiles = 4,
    accessDenied = 5,
    invalidFile = 6,
    badSeek = 9,
    hardIO = 10,
    sharingViolation = 11,
    lockViolation = 12,
  };

  explicit CFileException(int cause = none, int osError = -1, CString fileName = {})
      : m_cause(cause), m_lOsError(osError), m_strFileName(std::move(fileName)) {}
  ~CFileException() override;

  int m_cause;            ///< one of `Cause`
  int m_lOsError;         ///< the system's own error number, -1 when there is none
  CString m_strFileName;  ///< in Windows form; empty when unknown
};

/// An archive does not hold what was to be read from it.
class MEGREADER_API CArchiveException : public CException {
 public:
  /// Causes, with the framework's numbers.
  enum Cause : int {
    none = 0,
    genericException = 1,
    readOnly = 2,
    endOfFile = 3,
    writeOnly = 4,
    badIndex = 5,
    badClass = 6,
    badSchema = 7,
  };

  explicit CArchiveException(int cause = none, CString fileName = {})
      : m_cause(cause), m_strFileName(std::move(fileName)) {}
  ~CArchiveException() override;

  int m_cause;            ///< one of `Cause`
  CString m_strFileName;  ///< in Windows form; empty when unknown
};

/// Memory ran out.
class MEGREADER_API CMemoryException : public CException {
 public:
  ~CMemoryException() override;
};

/// An index or argument lies outside what is allowed.
class MEGREADER_API CInvalidArgException : public CException {
 public:
  ~CInvalidArgException() override;
};

[[noreturn]] MEGREADER_API void AfxThrowFileException(int cause, int osError = -1, CString fileName = {});
[[noreturn]] MEGREADER_API void AfxThrowArchiveException(int cause, CString fileName = {});
[[noreturn]] MEGREADER_API void AfxThrowInvalidArgException();
