#include <megreader/framework/file_error.h>

#include <system_error>

#include <megreader/framework/encoding.h>

namespace {

bool is(const CFileException& error, std::errc reason) {
  return error.m_lOsError == static_cast<int>(reason);
}

const char* codeOf(const CFileException& error) {
  if (error.m_cause == CFileException::fileNotFound || is(error, std::errc::no_such_file_or_directory))
    return "file.notFound";
  if (error.m_cause == CFileException::accessDenied && !is(error, std::errc::is_a_directory))
    return "file.noPermission";
  return "file.error";
}

std::string textOf(const CFileException& error) {
  if (error.m_lOsError > 0) return "can't be read: " + std::system_category().message(error.m_lOsError);
  return error.m_cause == CFileException::genericException ? "is not a regular file" : "can't be read";
}

}  // namespace

Finding findingOf(const CFileException& error, Finding::Severity severity) {
  return {.severity = severity,
          .code = codeOf(error),
          .file = error.m_strFileName,
          .text = fromUtf8(textOf(error))};
}
