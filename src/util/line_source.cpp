#include "util/line_source.h"

#include <limits>

#include "framework/encoding.h"

RawLineReader::End RawLineReader::next(std::string& line, std::size_t limit) {
  line.clear();
  for (char byte = 0; m_archive.Read(&byte, 1) == 1;) {
    const bool endsLine = byte == '\n' || byte == '\r';
    const bool secondOfPair = byte == '\n' && m_afterCr;
    m_afterCr = byte == '\r';
    if (endsLine && !secondOfPair) ++m_breaks;
    if (endsLine && !line.empty()) return End::lineBreak;
    if (endsLine) continue;
    if (line.empty()) m_line = m_breaks + 1;
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
      m_length(file.GetLength()) {}

bool LineSource::more() const { return m_everyLine || m_file.GetPosition() < m_length; }

bool LineSource::next(CString& line) {
  constexpr std::size_t kLongest = 2048;
  std::string bytes;
  const auto end = m_lines.next(bytes, m_everyLine ? std::numeric_limits<std::size_t>::max() : kLongest);
  const auto text = bytes.substr(0, bytes.find('\0'));
  line = m_everyLine ? fromWindows1252(text) : fromAnsi(text);
  return end != RawLineReader::End::endOfData || (m_everyLine && !bytes.empty());
}
