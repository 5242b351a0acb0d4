#include "util/line_source.h"

#include <limits>
#include <utility>

#include <megreader/framework/encoding.h>
#include <megreader/framework/user_interface.h>

RawLineReader::End RawLineReader::next(std::string& line, std::size_t limit, bool blankToo) {
  line.clear();
  for (char byte = 0; m_archive.Read(&byte, 1) == 1;) {
    const bool endsLine = byte == '\n' || byte == '\r';
    const bool secondOfPair = byte == '\n' && m_afterCr;
    m_afterCr = byte == '\r';
    if (line.empty() && !secondOfPair) m_line = m_breaks + 1;
    if (endsLine && !secondOfPair) ++m_breaks;
    if (endsLine && (!line.empty() || (blankToo && !secondOfPair))) return End::lineBreak;
    if (endsLine) continue;
    line += byte;
    if (line.size() == limit) return End::limit;
  }
  return End::endOfData;
}

LineSource::LineSource(CFile& file, const ReadingRules& rules)
    : m_file(file),
      m_archive(&file),
      m_lines(m_archive),
      m_everyLine(rules.everyLine),
      m_emptyValues(rules.emptyValues),
      m_badLinesSkipped(rules.badLinesSkipped),
      m_length(file.GetLength()) {}

bool LineSource::more() const { return m_everyLine || m_file.GetPosition() < m_length; }

bool LineSource::next(CString& line) { return read(line, false); }

bool LineSource::nextValue(CString& value) { return read(value, m_emptyValues); }

bool LineSource::read(CString& line, bool blankToo) {
  constexpr std::size_t kLongest = 2048;
  if (std::exchange(m_again, false)) {
    line = m_last;
    return true;
  }
  std::string bytes;
  const auto end =
      m_lines.next(bytes, m_everyLine ? std::numeric_limits<std::size_t>::max() : kLongest, blankToo);
  const auto text = bytes.substr(0, bytes.find('\0'));
  line = m_everyLine ? fromWindows1252(text) : fromAnsi(text);
  m_last = line;
  m_delivered = end != RawLineReader::End::endOfData || (m_everyLine && !bytes.empty());
  return m_delivered;
}

bool LineSource::passOver(const char* code, const wchar_t* text, Finding::Severity severity) const {
  reportFinding({.severity = severity,
                 .code = code,
                 .file = m_file.GetFilePath(),
                 .text = text,
                 .line = m_lines.lineNumber()});
  return m_badLinesSkipped;
}

void LineSource::note(const char* code, const wchar_t* text) const {
  reportFinding(
      {.severity = Finding::Severity::warning, .code = code, .file = m_file.GetFilePath(), .text = text});
}
