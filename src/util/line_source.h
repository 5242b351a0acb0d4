#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include <megreader/framework/carchive.h>
#include <megreader/framework/cstring.h>
#include <megreader/framework/finding.h>
#include <megreader/reader/reading_rules.h>

/// The lines of an archive as bytes. CR, LF and CR LF end a line.
class RawLineReader {
 public:
  enum class End { lineBreak, limit, endOfData };

  explicit RawLineReader(CArchive& archive) : m_archive(archive) {}

  /// Reads into `line` up to a line break, `limit` bytes (the rest comes with the next call) or the end of
  /// the data. Blank lines are passed over unless they are asked for.
  End next(std::string& line, std::size_t limit, bool blankToo = false);

  /// Number of the line that was read last, from 1, blank ones counted.
  std::int64_t lineNumber() const { return m_line; }

 private:
  CArchive& m_archive;
  bool m_afterCr = false;
  std::int64_t m_breaks = 0;
  std::int64_t m_line = 0;
};

/// The lines of a text file, for all formats: where a file ends for its reader is decided here, and what
/// becomes of a line that can't be understood.
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

  /// The value that follows a keyword's line: the next line, and a blank one means an empty value. By host
  /// rules blank lines do not count, so that the next keyword is taken for the value.
  bool nextValue(CString& value);

  /// Gives the line that was read last once more; nothing at the end.
  void putBack() { m_again = m_delivered; }

  /// Reports a finding about the line that was read last, and says whether a reader goes on behind it.
  bool passOver(const char* code, const wchar_t* text,
                Finding::Severity severity = Finding::Severity::warning) const;

  /// Reports a finding about the file as a whole.
  void note(const char* code, const wchar_t* text) const;

 private:
  bool read(CString& line, bool blankToo);

  CFile& m_file;
  CArchive m_archive;
  RawLineReader m_lines;
  bool m_everyLine;
  bool m_emptyValues;
  bool m_badLinesSkipped;
  std::uint64_t m_length;
  CString m_last;
  bool m_delivered = false;
  bool m_again = false;
};

/// A new T for what these lines say; null, and a finding, when there is no memory for it.
template <class T, class... Arguments>
std::unique_ptr<T> newFor(const LineSource& lines, const Arguments&... arguments) {
  std::unique_ptr<T> made(new (std::nothrow) T(arguments...));
  if (!made) lines.note("memory", L"needs more memory than there is");
  return made;
}
