#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>

namespace ctfmeg::output {

/// A file could not be written. `what()` is a sentence about the file that was called `name()`.
class WriteError : public std::runtime_error {
 public:
  WriteError(std::string name, const std::string& text) : std::runtime_error(text), m_name(std::move(name)) {}
  const std::string& name() const { return m_name; }

 private:
  std::string m_name;
};

/// A file that appears only when it is complete: a new file beside the one named, which replaces that one at
/// the end, and is removed if that never comes. A device or pipe, and a stream of the caller's, are written
/// to as they are. Every operation throws WriteError when it fails.
class ResultFile {
 public:
  /// `name`: what errors call the file.
  ResultFile(const std::filesystem::path& file, std::string name);
  /// The stream stays the caller's and open.
  ResultFile(std::FILE* stream, std::string name);
  ResultFile(const ResultFile&) = delete;
  ResultFile& operator=(const ResultFile&) = delete;
  ~ResultFile();

  void write(std::span<const std::byte> bytes);
  /// What is written next begins at this byte of the file, which must be a new one.
  void goTo(std::uint64_t offset);

  /// Everything is written: closes the file.
  void finish();
  /// Finishes the file and puts it in its place.
  void commit();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  /// Opens a file for binary writing; null, with the reason in errno, when that fails.
  static std::FILE* open(const std::filesystem::path& file, bool mustBeNew);
  /// Whether that was possible; the reason is in errno.
  static bool seek(std::FILE* file, std::uint64_t offset);
  [[noreturn]] void fail(const char* what, const std::error_code& reason) const;
  [[noreturn]] void fail(const char* what, int errorNumber) const;
  void openBeside();

  std::string m_name;
  std::filesystem::path m_final;
  std::filesystem::path m_temporary;  // empty when there is none to rename or remove
  std::unique_ptr<std::FILE, Close> m_owned;
  std::FILE* m_file = nullptr;
};

}  // namespace ctfmeg::output
