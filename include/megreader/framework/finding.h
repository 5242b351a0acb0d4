#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <megreader/framework/cstring.h>
#include <megreader/framework/exceptions.h>
#include <megreader/framework/export.h>

/// Something that a reader noticed about a file: what a person needs to know beyond a result of 0 or 1.
struct Finding {
  enum class Severity {
    remark,   ///< odd, but nothing is lost
    warning,  ///< something is missing or was put right
    error,    ///< why the operation fails
  };

  Severity severity = Severity::error;
  std::string code;                      ///< a stable word such as "meg4.short"
  CString file;                          ///< the file it is about, in Windows form
  CString text;                          ///< one plain sentence, without the file's name
  std::optional<std::int64_t> offset{};  ///< byte in the file, from 0
  std::optional<std::int64_t> line{};    ///< line in the file, from 1
};

/// What a person needs to know of a file error: which file, why, in the system's words. Code `file.notFound`,
/// `file.noPermission`, or `file.error` for every other cause.
MEGREADER_API Finding findingOf(const CFileException& error,
                                Finding::Severity severity = Finding::Severity::error);
