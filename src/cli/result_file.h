#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <system_error>

namespace ctfmeg::cli {

/// Where a result goes: standard output for "-"; a device or pipe as it stands; else a new file beside the
/// one named, which takes that one's place when it is complete and is removed when it never gets so. Every
/// operation throws CommandError with the name and the reason when it fails.
class ResultFile {
 public:
  explicit ResultFile(const std::string& name);
  ResultFile(const ResultFile&) = delete;
  ResultFile& operator=(const ResultFile&) = delete;
  ~ResultFile();

  void write(std::span<const std::byte> bytes);

  /// Everything is written: closes the file and puts it in its place.
  void commit();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  [[noreturn]] void fail(const char* what, const std::error_code& reason) const;
  [[noreturn]] void fail(const char* what, int errorNumber) const;
  void openBeside();

  std::string m_name;
  std::filesystem::path m_final;
  std::filesystem::path m_temporary;  // empty when there is none to rename or remove
  std::unique_ptr<std::FILE, Close> m_owned;
  std::FILE* m_file = nullptr;
};

}  // namespace ctfmeg::cli
