#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <ctfmeg/export.h>

namespace ctfmeg {
inline namespace v1 {

/// Something that was noticed while a dataset was read. Texts are UTF-8.
struct Finding {
  enum class Severity {
    remark,   ///< odd, but nothing is lost
    warning,  ///< something is missing or was put right
    error,    ///< why the operation fails
  };
  Severity severity = Severity::error;
  std::string code;                      ///< a stable word, such as "meg4.short"; docs/findings.md lists all
  std::string file;                      ///< path of the file it is about; empty when it is about none
  std::string text;                      ///< one plain sentence, without the file's name
  std::optional<std::int64_t> offset{};  ///< byte in the file, from 0
  std::optional<std::int64_t> line{};    ///< line in the file, from 1
};

/// "remark", "warning" or "error".
CTFMEG_API const char* nameOf(Finding::Severity severity);

enum class ErrorKind {
  notFound,
  noPermission,
  notADataset,
  damaged,
  refused,
  outOfMemory,
  stopped,
  notWritten,  ///< a copy can't be written: the disk is full, a folder may not be written to
};

/// The kind as one word, as it is in the enumeration.
CTFMEG_API const char* nameOf(ErrorKind kind);

/// A dataset could not be read, or a copy not written. `what()` is the path and the text.
class CTFMEG_API Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, std::filesystem::path path, const std::string& text,
        std::vector<Finding> findings = {});

  ErrorKind kind() const { return m_kind; }
  // Valid as long as the error is.
  const std::filesystem::path& path() const& { return m_path; }  ///< of the file that is the reason
  const std::string& text() const& { return m_text; }            ///< one plain sentence, without the path
  const std::vector<Finding>& findings() const& { return m_findings; }  ///< everything that was noticed
  const std::filesystem::path& path() const&& = delete;
  const std::string& text() const&& = delete;
  const std::vector<Finding>& findings() const&& = delete;

 private:
  ErrorKind m_kind;
  std::filesystem::path m_path;
  std::string m_text;
  std::vector<Finding> m_findings;
};

}  // namespace v1
}  // namespace ctfmeg
