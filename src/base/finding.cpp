#include <ctfmeg/finding.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg {
inline namespace v1 {

const char* nameOf(Finding::Severity severity) {
  switch (severity) {
    case Finding::Severity::remark:
      return "remark";
    case Finding::Severity::warning:
      return "warning";
    case Finding::Severity::error:
      return "error";
  }
  return "error";
}

const char* nameOf(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::notFound:
      return "notFound";
    case ErrorKind::noPermission:
      return "noPermission";
    case ErrorKind::notADataset:
      return "notADataset";
    case ErrorKind::damaged:
      return "damaged";
    case ErrorKind::refused:
      return "refused";
    case ErrorKind::outOfMemory:
      return "outOfMemory";
    case ErrorKind::stopped:
      return "stopped";
    case ErrorKind::notWritten:
      return "notWritten";
  }
  return "damaged";
}

Error::Error(ErrorKind kind, std::filesystem::path path, const std::string& text,
             std::vector<Finding> findings)
    : std::runtime_error(textOf(path) + ": " + text),
      m_kind(kind),
      m_path(std::move(path)),
      m_text(text),
      m_findings(std::move(findings)) {}

}  // namespace v1
}  // namespace ctfmeg
