#include <megreader/framework/cfile.h>

CFile::~CFile() { Close(); }

void CFile::fail(int cause, int osError) const { AfxThrowFileException(cause, osError, m_path); }

bool CFile::refuse(CFileException* error, const CString& path, int cause, int osError) {
  if (error != nullptr) {
    error->m_cause = cause;
    error->m_lOsError = osError;
    error->m_strFileName = path;
  }
  return false;
}
