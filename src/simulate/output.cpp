#include "simulate/output.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace ctfmeg::simulate {

OutputFile::OutputFile(std::filesystem::path stem, std::string_view suffix)
    : m_path(std::move(stem += suffix)) {
  errno = 0;
  m_stream.open(m_path, std::ios::binary | std::ios::trunc);
  check("cannot create");
}

void OutputFile::write(std::span<const char> bytes) {
  errno = 0;
  m_stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  check("cannot write");
}

void OutputFile::close() {
  errno = 0;
  m_stream.close();
  check("cannot write");
}

void OutputFile::check(const char* action) const {
  if (m_stream) return;
  const int reason = errno != 0 ? errno : EIO;  // a stream may fail without a reason
  throw std::filesystem::filesystem_error(action, m_path, std::error_code(reason, std::generic_category()));
}

}  // namespace ctfmeg::simulate
