#pragma once

#include <cstdint>
#include <string>

#include "framework/carchive.h"
#include "framework/cstring.h"
#include "util/reading_rules.h"

/// The lines of an archive as bytes, blank ones passed over. CR, LF and CR LF end a line.
class RawLineReader {
 public:
  enum class End { lineBreak, limit, endOfData };

  explicit RawLineReader(CArchive& archive) : m_archive(archive) {}

  /// Reads into `line` up to a line break, `limit` bytes (the rest comes with the next call) or the end of
  /// the data.
  End next(std::string& line, std::size_t limit);

  /// Number of the line that was read last, from 1, blank ones counted.
  std::int64_t lineNumber() const { return m_line; }

 private:
  CArchive& m_archive;
  bool m_afterCr = false;
  std::int64_t m_breaks = 0;
  std::int64_t m_line = 0;
};

/// The lines of a text file, for all formats: where a file ends for its reader is decided here.
class LineSource {
 public:
  /// Reads `file` from where it stands; it must outlive this.
  LineSource(CFile& file, const ReadingRules& rules);

  /// Whether a reader goes on. Hosts rely on readers that stop once the last block of the file is loaded,
  /// whatever lines of it are still to come.
  bool more() const;

  /// The next line that is not blank, up to its first zero byte; false at the end. By host rules a last line
  /// without a line break counts as missing and a long one comes in pieces of 2048 bytes.
  bool next(CString& line);

  const CString& file() const { return m_file.GetFilePath(); }
  std::int64_t lineNumber() const { return m_lines.lineNumber(); }

 private:
  CFile& m_file;
  CArchive m_archive;
  RawLineReader m_lines;
  bool m_everyLine;
  std::uint64_t m_length;
};
