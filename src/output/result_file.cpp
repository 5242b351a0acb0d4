#include "output/result_file.h"

#include <cerrno>
#include <random>

namespace ctfmeg::output {

namespace fs = std::filesystem;

namespace {

/// Where a link leads: it stays a link, and what it points to is replaced.
fs::path targetOf(const fs::path& file) {
  std::error_code unknown;
  fs::path target = fs::weakly_canonical(file, unknown);
  return unknown ? file : target;
}

}  // namespace

ResultFile::ResultFile(std::FILE* stream, std::string name) : m_name(std::move(name)), m_file(stream) {}

ResultFile::ResultFile(const fs::path& file, std::string name)
    : m_name(std::move(name)), m_final(targetOf(file)) {
  std::error_code unknown;
  const fs::file_status status = fs::status(m_final, unknown);
  if (fs::is_directory(status)) fail("can't be written", EISDIR);
  if (fs::exists(status) && !fs::is_regular_file(status))
    m_owned.reset(open(file, false));
  else
    openBeside();
  if (!m_owned) fail("can't be written", errno);
  m_file = m_owned.get();
}

void ResultFile::openBeside() {
  std::random_device random;
  const std::string unique = std::to_string(random());
  m_temporary = m_final;
  m_temporary += ".";
  m_temporary += unique;
  m_temporary += ".part";
  m_owned.reset(open(m_temporary, true));
  if (!m_owned) m_temporary.clear();
}

ResultFile::~ResultFile() {
  m_owned.reset();
  std::error_code ignored;
  if (!m_temporary.empty()) fs::remove(m_temporary, ignored);
}

void ResultFile::fail(const char* what, const std::error_code& reason) const {
  throw WriteError(m_name, what + (reason ? ": " + reason.message() : ""));
}

void ResultFile::fail(const char* what, int errorNumber) const {
  fail(what, std::error_code(errorNumber, std::generic_category()));
}

void ResultFile::write(std::span<const std::byte> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), m_file) != bytes.size()) fail("can't be written", errno);
}

void ResultFile::goTo(std::uint64_t offset) {
  if (!seek(m_file, offset)) fail("can't be written", errno);
}

void ResultFile::finish() {
  if (m_file == nullptr) return;
  if (std::fflush(m_file) != 0) fail("can't be written", errno);
  m_file = nullptr;
  if (m_owned && std::fclose(m_owned.release()) != 0) fail("can't be written", errno);
}

void ResultFile::commit() {
  finish();
  if (m_temporary.empty()) return;
  std::error_code failed;
  fs::rename(m_temporary, m_final, failed);
  if (failed) fail("can't be put in place", failed);
  m_temporary.clear();
}

}  // namespace ctfmeg::output
