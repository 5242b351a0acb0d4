#include <megreader/framework/exceptions.h>

CException::~CException() = default;
CFileException::~CFileException() = default;
CArchiveException::~CArchiveException() = default;
CMemoryException::~CMemoryException() = default;
CInvalidArgException::~CInvalidArgException() = default;

void AfxThrowFileException(int cause, int osError, CString fileName) {
  throw new CFileException(cause, osError, std::move(fileName));
}
void AfxThrowArchiveException(int cause, CString fileName) {
  throw new CArchiveException(cause, std::move(fileName));
}
void AfxThrowInvalidArgException() { throw new CInvalidArgException; }
