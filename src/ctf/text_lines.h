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

/// A number with something else at its end is none, which is reported and passed over.
inline AfterNumber afterNumber(const ReadingRules& rules) {
  return rules.badLinesSkipped ? AfterNumber::blank : AfterNumber::anything;
}

/// Whether the first line of a file, without its line break, is from a file of 16 bits a character: by the
/// mark with which most begin, else because every second byte is zero, as in ASCII text.
bool beginsUtf16(std::string_view bytes);

/// What is made of a last line that no line break ends. The system ends every line, so that in a file of
/// counts, keywords or sets the line was cut, perhaps inside a number. Lists that scripts write often lack
/// the last line break, and nothing else tells a whole line from a cut one.
enum class LastLine { mustEnd, mayLackBreak };

/// What is said of a last line that is not read for want of a line break.
inline constexpr const char* kLastLine =
    "is the last line and has no line break: it may be cut, and is not read";

/// The lines of a text file, for all formats: where a file ends for its reader is decided here, and what
/// becomes of a line that can't be understood. A file that is UTF-16 is reported, and has no lines under
/// plain rules.
class TextLines {
 public:
  /// Reads `file` from its start; it must outlive this, and so must `notices`.
  TextLines(const File& file, const ReadingRules& rules, Notices& notices,
            LastLine lastLine = LastLine::mustEnd);

  /// Whether a reader goes on. Hosts rely on readers that stop once the last block of the file is loaded,
  /// whatever lines of it are still to come.
  bool more() const { return m_everyLine || m_bytes.position() < m_length; }

  /// The next line that is not blank, up to its first zero byte; false at the end. A last line without a line
  /// break counts as missing, unless it may lack one and the rules are plain. Under host rules a long line
  /// comes in pieces of 2048 bytes. Throws FileError.
  bool next(std::string& line) { return read(line, false); }

  /// The value that follows a keyword's line: the next line, and a blank one means an empty value. Under host
  /// rules blank lines do not count, so that the next keyword is taken for the value.
  bool nextValue(std::string& value) { return read(value, m_rules.emptyValues); }

  /// The line that was read last comes once more; nothing at the end.
  void putBack() { m_again = m_delivered; }

  /// Whether the file ended in the line that was read last, before a line break.
  bool unended() const { return m_unended; }

  /// Reports a finding about the line that was read last, each only once, and returns whether a reader goes
  /// on after it.
  bool passOver(Code code, const std::string& text,
                Finding::Severity severity = Finding::Severity::warning) const;

  /// Reports a finding about the file as a whole.
  void note(Code code, const std::string& text) const;

  const ReadingRules& rules() const { return m_rules; }

  /// Whether a warning was reported of this file.
  bool warned() const { return m_warned; }

  /// To be called when a reader has what it wants: under plain rules goes on to the end of the file, and
  /// reports a cut last line, unless something was said of it already.
  void finish();

 private:
  bool read(std::string& line, bool blankToo);
  void lookForZeros(std::string_view bytes);

  const File& m_file;
  ReadingRules m_rules;
  Notices& m_notices;
  bool m_everyLine;
  bool m_deliversUnended;
  BlockBytes m_bytes;
  RawLines<BlockBytes> m_lines;
  std::uint64_t m_length;
  std::string m_last;
  bool m_delivered = false;
  bool m_again = false;
  bool m_first = true;  // no line was read yet
  bool m_unended = false;
  bool m_isUtf16 = false;
  bool m_zerosReported = false;
  mutable bool m_warned = false;
  mutable Finding m_lastFinding;
};

}  // namespace ctfmeg
