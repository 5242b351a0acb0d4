#include "framework/file_error.h"

#include <system_error>

#include "framework/encoding.h"

namespace {

const char* codeOf(const CFileException& error) {
  const bool directory = error.m_lOsError == static_cast<int>(std::errc::is_a_directory);
  if (error.m_cause == CFileException::fileNotFound) return "file.notFound";
  if (error.m_cause == CFileException::accessDenied && !directory) return "file.noPermission";
  return "file.error";
}

std::string textOf(const CFileException& error) {
  if (error.m_lOsError > 0) return "can't be read: " + std::system_category().message(error.m_lOsError);
  return error.m_cause == CFileException::invalidFile ? "is not a regular file" : "can't be read";
}

}  // namespace

Finding findingOf(const CFileException& error) {
  return {.severity = Finding::Severity::error,
          .code = codeOf(error),
          .file = error.m_strFileName,
          .text = fromUtf8(textOf(error))};
}
