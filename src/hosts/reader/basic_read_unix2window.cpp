#include <megreader/reader/basic_read_unix2window.h>

#include <cstring>
#include <string>

#include "base/byte_order.h"
#include "base/lines.h"

#include <megreader/framework/encoding.h>

namespace {

template <class T>
T reversed(T& value) {
  ctfmeg::reverseBytes(value);
  return value;
}

struct ArchiveBytes {
  CArchive& archive;
  bool next(char& byte) { return archive.Read(&byte, 1) == 1; }
};

}  // namespace

CString CBasicReadUnix2Window::getFilePathBasic(const CString& path) {
  return path.Left(path.ReverseFind(L'.') + 1);
}

CString CBasicReadUnix2Window::getFilePathDir(const CString& path) {
  return path.Left(path.ReverseFind(L'\\') + 1);
}

CString CBasicReadUnix2Window::getFilePathUpDir(const CString& path) {
  return getFilePathDir(path.Left(path.ReverseFind(L'\\')));
}

CString CBasicReadUnix2Window::getFileName(const CString& path) {
  const int dot = path.ReverseFind(L'.');
  const int backslash = path.ReverseFind(L'\\');
  return path.Left(dot + 1).Right(dot - backslash).Left(dot - backslash - 1);
}

std::int16_t CBasicReadUnix2Windowzk::unix2Win4Short(std::int16_t& value) const { return reversed(value); }
std::uint16_t CBasicReadUnix2Windowzk::unix2Win4UnsignedShort(std::uint16_t& value) const {
  return reversed(value);
}
std::int32_t CBasicReadUnix2Windowzk::unix2Win4Int(std::int32_t& value) const { return reversed(value); }
std::int32_t CBasicReadUnix2Windowzk::unix2Win4long(std::int32_t& value) const { return reversed(value); }
std::uint32_t CBasicReadUnix2Windowzk::unix2Win4Ulong(std::uint32_t& value) const { return reversed(value); }
float CBasicReadUnix2Windowzk::unix2Win4Float(float& value) const { return reversed(value); }
double CBasicReadUnix2Windowzk::unix2Win4Double(double& value) const { return reversed(value); }
std::int16_t CBasicReadUnix2Windowzk::endianTransform(std::int16_t& value) const { return reversed(value); }
std::int32_t CBasicReadUnix2Windowzk::endianTransform(std::int32_t& value) const { return reversed(value); }
double CBasicReadUnix2Windowzk::endianTransform(double& value) const { return reversed(value); }
#ifdef _WIN32
long CBasicReadUnix2Windowzk::unix2Win4long(long& value) const { return reversed(value); }
unsigned long CBasicReadUnix2Windowzk::unix2Win4Ulong(unsigned long& value) const { return reversed(value); }
long CBasicReadUnix2Windowzk::endianTransform(long& value) const { return reversed(value); }
#endif

int CBasicReadUnix2Windowzk::readANSI(CArchive& archive, CString& line) {
  std::string bytes;
  ArchiveBytes source{archive};
  const auto end = ctfmeg::RawLines(source).next(bytes, kLineBufferSize);
  std::memset(m_lineBuffer, 0, sizeof m_lineBuffer);
  bytes.copy(m_lineBuffer, sizeof m_lineBuffer);
  line = fromAnsi(bytes.substr(0, bytes.find('\0')));
  return end != ctfmeg::RawLines<ArchiveBytes>::End::endOfData;
}
