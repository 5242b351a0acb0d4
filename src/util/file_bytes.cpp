#include "util/file_bytes.h"

#include <algorithm>

#include <megreader/framework/file_error.h>
#include <megreader/framework/user_interface.h>

bool openForReading(CFile& file, const CString& path, unsigned flags, CFileException& error,
                    Finding::Severity severity) {
  if (file.Open(path, flags, &error)) return true;
  reportFinding(findingOf(error, severity));
  return false;
}

bool openShared(CFile& file, const CString& path, CFileException& error) {
  return openForReading(file, path, CFile::modeRead | CFile::shareDenyNone, error);
}

std::vector<std::byte> readUpTo(CFile& file, std::int64_t count) {
  const std::uint64_t length = file.GetLength();
  const std::uint64_t position = file.GetPosition();
  // A little is tried whatever the length says: some files of the system have content but no length.
  constexpr std::uint64_t kAlways = 4096;
  const std::uint64_t remaining = std::max(length > position ? length - position : 0, kAlways);
  const auto wanted = static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0));
  std::vector<std::byte> bytes(static_cast<std::size_t>(std::min(wanted, remaining)));
  bytes.resize(file.Read(bytes.data(), bytes.size()));
  return bytes;
}

std::optional<std::vector<std::byte>> readExactly(CFile& file, std::int64_t count) {
  auto bytes = readUpTo(file, count);
  if (static_cast<std::int64_t>(bytes.size()) != count) return std::nullopt;
  return bytes;
}
