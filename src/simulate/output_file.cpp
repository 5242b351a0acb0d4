#include "simulate/output_file.h"

#include <cerrno>
#include <system_error>

namespace ctfmeg::simulate {

OutputFile::OutputFile(const std::filesystem::path& path) : path_(path) {
  errno = 0;
  stream_.open(path, std::ios::binary | std::ios::trunc);
  check("cannot create");
}

void OutputFile::write(std::span<const char> bytes) {
  errno = 0;
  stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  check("cannot write");
}

void OutputFile::close() {
  errno = 0;
  stream_.close();
  check("cannot write");
}

void OutputFile::check(const char* action) const {
  if (stream_) return;
  const int reason = errno != 0 ? errno : EIO;  // a stream may fail without a reason
  throw std::filesystem::filesystem_error(action, path_, std::error_code(reason, std::generic_category()));
}

}  // namespace ctfmeg::simulate
