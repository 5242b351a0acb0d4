#pragma once

#include <cstdint>

#include <megreader/framework/cfile.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

class CDocument;
class CMEGDatazk;

/// Cuts paths in Windows form: only the backslash separates.
class MEGREADER_API CBasicReadUnix2Window {
 public:
  /// The path up to and including its last "."; empty if it has none: `D:\x.ds\run.` for `D:\x.ds\run.res4`.
  static CString getFilePathBasic(const CString& path);

  /// The path up to and including its last backslash; empty if it has none.
  static CString getFilePathDir(const CString& path);

  /// The parent of the file's directory, with its trailing backslash: `D:\data\` for
  /// `D:\data\run.ds\run.meg4`.
  static CString getFilePathUpDir(const CString& path);

  /// The characters between the last backslash and the last "."; empty without a "." after the last
  /// backslash.
  static CString getFileName(const CString& path);
};

/// Converts big-endian values in place and reads text lines. Also the base layer of the reader object, whose
/// current data object and document it holds; copies share what these point to.
class MEGREADER_API CBasicReadUnix2Windowzk : public CBasicReadUnix2Window {
 public:
  /// Each takes a value that holds the bytes as read from the file, reverses them, stores the result back
  /// into the argument and returns it.
  std::int16_t unix2Win4Short(std::int16_t& value) const;
  std::uint16_t unix2Win4UnsignedShort(std::uint16_t& value) const;
  std::int32_t unix2Win4Int(std::int32_t& value) const;
  std::int32_t unix2Win4long(std::int32_t& value) const;
  std::uint32_t unix2Win4Ulong(std::uint32_t& value) const;
  float unix2Win4Float(float& value) const;
  double unix2Win4Double(double& value) const;
  std::int16_t endianTransform(std::int16_t& value) const;
  std::int32_t endianTransform(std::int32_t& value) const;
  double endianTransform(double& value) const;
#ifdef _WIN32
  // Here `long` has 32 bits and is a type of its own.
  long unix2Win4long(long& value) const;
  unsigned long unix2Win4Ulong(unsigned long& value) const;
  long endianTransform(long& value) const;
#endif

  /// Reads the next line that is not blank, without its CR or LF, in the system's ANSI code page; a line is
  /// cut at its first zero byte. Returns 1; 0 at the end of the data, with what an unterminated last line
  /// held. A line of more than 2048 bytes comes in pieces of 2048. Throws what the archive throws.
  int readANSI(CArchive& archive, CString& line);

 protected:
  static constexpr int kLineBufferSize = 2048;

  CMEGDatazk* m_currentData = nullptr;  ///< the data object being filled; the host's
  CDocument* m_document = nullptr;      ///< the document of the last array-filling call; the host's
  char m_lineBuffer[kLineBufferSize] = {};
};
