#include "framework/exceptions.h"

CException::~CException() = default;
CFileException::~CFileException() = default;
CMemoryException::~CMemoryException() = default;
CInvalidArgException::~CInvalidArgException() = default;

void AfxThrowFileException(int cause, int osError) {
  throw new CFileException(cause, osError);
}
void AfxThrowInvalidArgException() {
  throw new CInvalidArgException;
}
