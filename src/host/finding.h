#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ctfmeg {
inline namespace v1 {

/// Something that was noticed while a dataset was read. Texts are UTF-8.
struct Finding {
  enum class Severity { remark, warning, error };
  Severity severity = Severity::error;
  std::string code;  ///< a stable word, such as "meg4.short"; "message" for a message meant for a person
  std::string file;  ///< path of the file it is about; empty when it is about none
  std::string text;  ///< one plain sentence, without the file's name
  std::optional<std::int64_t> offset{};  ///< byte in the file, from 0
  std::optional<std::int64_t> line{};    ///< line in the file, from 1
};

/// "remark", "warning" or "error".
const char* nameOf(Finding::Severity severity);

enum class ErrorKind { notFound, noPermission, notADataset, damaged, refused, outOfMemory, stopped };

/// The kind as one word, as it stands in the enumeration.
const char* nameOf(ErrorKind kind);

/// A dataset could not be read. `what()` is the path and the text.
class Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, std::filesystem::path path, const std::string& text,
        std::vector<Finding> findings = {});

  ErrorKind kind() const { return m_kind; }
  const std::filesystem::path& path() const { return m_path; }  ///< of the file that is the reason
  const std::string& text() const { return m_text; }            ///< one plain sentence, without the path
  const std::vector<Finding>& findings() const { return m_findings; }  ///< all, shown messages among them

 private:
  ErrorKind m_kind;
  std::filesystem::path m_path;
  std::string m_text;
  std::vector<Finding> m_findings;
};

}  // namespace v1
}  // namespace ctfmeg
