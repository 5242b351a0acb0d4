#pragma once

#include <string>
#include <string_view>

#include "base/lines.h"
#include "base/notices.h"
#include "base/scan.h"

#include <ctfmeg/reading_rules.h>

namespace ctfmeg {

/// Whether `part` is anywhere in `line`: how keywords are found.
inline bool holds(std::string_view line, std::string_view part) {
  return line.find(part) != std::string_view::npos;
}

/// The precision of numbers in text files.
inline ScanPrecision precisionOf(const ReadingRules& rules) {
  return rules.doubleNumbers ? ScanPrecision::full : ScanPrecision::single;
}

/// The lines of a text file, for all formats: where a file ends for its reader is decided here, and what
/// becomes of a line that can't be understood.
class TextLines {
 public:
  /// Reads `file` from its start; it must outlive this, and so must `notices`.
  TextLines(const File& file, const ReadingRules& rules, Notices& notices);

  /// Whether a reader goes on. Hosts rely on readers that stop once the last block of the file is loaded,
  /// whatever lines of it are still to come.
  bool more() const { return m_everyLine || m_bytes.position() < m_length; }

  /// The next line that is not blank, up to its first zero byte; false at the end. Under host rules a last
  /// line without a line break counts as missing and a long one comes in pieces of 2048 bytes. Throws
  /// FileError.
  bool next(std::string& line) { return read(line, false); }

  /// The value that follows a keyword's line: the next line, and a blank one means an empty value. Under host
  /// rules blank lines do not count, so that the next keyword is taken for the value.
  bool nextValue(std::string& value) { return read(value, m_rules.emptyValues); }

  /// The line that was read last comes once more; nothing at the end.
  void putBack() { m_again = m_delivered; }

  /// Reports a finding about the line that was read last, and returns whether a reader goes on after it.
  bool passOver(Code code, const std::string& text,
                Finding::Severity severity = Finding::Severity::warning) const;

  /// Reports a finding about the file as a whole.
  void note(Code code, const std::string& text) const;

 private:
  bool read(std::string& line, bool blankToo);

  const File& m_file;
  ReadingRules m_rules;
  Notices& m_notices;
  bool m_everyLine;
  BlockBytes m_bytes;
  RawLines<BlockBytes> m_lines;
  std::uint64_t m_length;
  std::string m_last;
  bool m_delivered = false;
  bool m_again = false;
};

}  // namespace ctfmeg
