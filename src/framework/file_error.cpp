#include "framework/file_error.h"

#include <system_error>

#include "framework/encoding.h"

namespace {

const char* codeOf(int cause) {
  switch (cause) {
    case CFileException::fileNotFound:
      return "file.notFound";
    case CFileException::accessDenied:
      return "file.noPermission";
    default:
      return "file.error";
  }
}

}  // namespace

Finding findingOf(const CFileException& error) {
  const std::string reason =
      error.m_lOsError > 0 ? ": " + std::system_category().message(error.m_lOsError) : "";
  return {.severity = Finding::Severity::error,
          .code = codeOf(error.m_cause),
          .file = error.m_strFileName,
          .text = fromUtf8("can't be read" + reason)};
}
