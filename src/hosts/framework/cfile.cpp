#include <megreader/framework/cfile.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>

#include "hosts/framework/bridge.h"

namespace {

#ifdef _WIN32
constexpr int kBadHandle = 6, kNegativeSeek = 131;  // the system's error numbers
#else
constexpr int kBadHandle = EBADF, kNegativeSeek = EINVAL;
#endif

}  // namespace

CFile::~CFile() = default;

bool CFile::Open(const CString& path, unsigned flags, CFileException* error) {
  Close();
  try {
    const bool shared = (flags & shareDenyNone) != 0;
    m_file = ctfmeg::openLocalFile(nativePath(path), shared ? ctfmeg::Sharing::all : ctfmeg::Sharing::none);
    m_path = path;
    return true;
  } catch (const ctfmeg::FileError& reason) {
    if (error != nullptr) {
      error->m_cause = static_cast<int>(reason.cause());
      error->m_lOsError = reason.systemError();
      error->m_strFileName = path;
    }
    return false;
  }
}

const ctfmeg::File& CFile::opened() const {
  if (m_file) return *m_file;
  AfxThrowFileException(CFileException::invalidFile, kBadHandle, m_path);
}

std::size_t CFile::Read(void* buffer, std::size_t count) {
  const ctfmeg::File& file = opened();
  const auto out = std::span(static_cast<std::byte*>(buffer), count);
  const std::size_t got = asFramework([&] { return file.readAt(m_position, out); });
  m_position += got;
  return got;
}

std::uint64_t CFile::Seek(std::int64_t offset, SeekPosition from) {
  if (!m_file) AfxThrowFileException(CFileException::badSeek, kBadHandle, m_path);
  const std::uint64_t start = from == begin ? 0 : from == current ? m_position : GetLength();
  const std::int64_t position = static_cast<std::int64_t>(start) + offset;
  if (position < 0) AfxThrowFileException(CFileException::badSeek, kNegativeSeek, m_path);
  return m_position = static_cast<std::uint64_t>(position);
}

std::uint64_t CFile::GetLength() const {
  const ctfmeg::File& file = opened();
  return asFramework([&] { return file.size(); });
}

std::uint64_t CFile::GetPosition() const {
  opened();
  return m_position;
}

void CFile::Close() {
  m_file.reset();
  m_position = 0;
}

CArchive::CArchive(CFile* file, Mode /*mode*/, std::size_t blockSize) : m_file(file), m_block(blockSize) {}

std::size_t CArchive::Read(void* buffer, std::size_t count) {
  auto* out = static_cast<char*>(buffer);
  std::size_t total = 0;
  while (total < count && m_file != nullptr) {
    if (m_next == m_loaded) {
      m_next = m_loaded = 0;
      m_loaded = m_file->Read(m_block.data(), m_block.size());
      if (m_loaded == 0) break;
    }
    const std::size_t part = std::min(count - total, m_loaded - m_next);
    std::memcpy(out + total, m_block.data() + m_next, part);
    m_next += part;
    total += part;
  }
  return total;
}

void CArchive::Close() {
  if (m_file == nullptr) return;
  if (m_next != m_loaded) m_file->Seek(-static_cast<std::int64_t>(m_loaded - m_next), CFile::current);
  m_file = nullptr;
}
