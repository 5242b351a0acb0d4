#include "hosts/framework/bridge.h"

#include <system_error>

#include "base/encoding.h"

#include <ctfmeg/path_text.h>
#include <megreader/framework/finding.h>
#include <megreader/framework/native_path.h>
#include <megreader/framework/user_interface.h>

static_assert(static_cast<int>(ctfmeg::FileError::Cause::notFound) == CFileException::fileNotFound &&
              static_cast<int>(ctfmeg::FileError::Cause::accessDenied) == CFileException::accessDenied &&
              static_cast<int>(ctfmeg::FileError::Cause::hardIO) == CFileException::hardIO &&
              static_cast<int>(ctfmeg::FileError::Cause::lockViolation) == CFileException::lockViolation);

namespace {

/// Hosts on Windows give paths as the system takes them; a slash separates nothing for them.
constexpr bool kSlashesSeparate = std::filesystem::path::preferred_separator == '/';

}  // namespace

CString toWindowsPath(CString path) {
  if (kSlashesSeparate) path.Replace(L'/', L'\\');
  return path;
}

CString toWindowsPath(const std::string& path) { return toWindowsPath(hostText(path)); }

std::string toNativePath(CString path) {
  if (kSlashesSeparate) path.Replace(L'\\', L'/');
  return ctfmeg::utf8FromWide(path.str());
}

CString hostText(const std::string& utf8) { return CString(ctfmeg::wideFromUtf8(utf8)); }

std::filesystem::path nativePath(const CString& path) { return ctfmeg::pathFromText(toNativePath(path)); }

Finding hostFinding(const ctfmeg::Finding& finding) {
  return {.severity = static_cast<Finding::Severity>(finding.severity),
          .code = finding.code,
          .file = toWindowsPath(finding.file),
          .text = hostText(finding.text),
          .offset = finding.offset,
          .line = finding.line};
}

void HostNotices::report(const ctfmeg::Finding& finding) { reportFinding(hostFinding(finding)); }

void throwHostException(const ctfmeg::FileError& error) {
  AfxThrowFileException(static_cast<int>(error.cause()), error.systemError(), toWindowsPath(error.path()));
}

Finding findingOf(const CFileException& error, Finding::Severity severity) {
  using ctfmeg::FileError;
  const std::string path = toNativePath(error.m_strFileName);
  std::error_code unknown;
  const bool directory = error.m_cause == CFileException::accessDenied &&
                         std::filesystem::is_directory(ctfmeg::pathFromText(path), unknown);
  const FileError same =
      directory ? FileError::ofDirectory(error.m_lOsError, path)
                : FileError(static_cast<FileError::Cause>(error.m_cause), error.m_lOsError, path);
  return hostFinding(ctfmeg::findingOf(same, static_cast<ctfmeg::Finding::Severity>(severity)));
}
