#include "ctf/text_lines.h"

#include <limits>
#include <utility>

#include "ctf/text.h"

namespace ctfmeg {
namespace {

constexpr std::size_t kHostBlock = 4096;    // where blocks end decides under host rules which lines count
constexpr std::size_t kPlainBlock = 65536;  // fewer calls, for files that are far away

}  // namespace

TextLines::TextLines(const File& file, const ReadingRules& rules, Notices& notices)
    : m_file(file),
      m_rules(rules),
      m_notices(notices),
      m_everyLine(rules.everyLine),
      m_bytes(file, rules.everyLine ? kPlainBlock : kHostBlock),
      m_lines(m_bytes),
      m_length(file.size()) {}

bool TextLines::read(std::string& line, bool blankToo) {
  constexpr std::size_t kLongestUnderHostRules = 2048;
  if (std::exchange(m_again, false)) {
    line = m_last;
    return true;
  }
  std::string bytes;
  const auto end = m_lines.next(
      bytes, m_everyLine ? std::numeric_limits<std::size_t>::max() : kLongestUnderHostRules, blankToo);
  line = decodeText(std::string_view(bytes).substr(0, bytes.find('\0')), m_rules);
  m_last = line;
  m_delivered = end != RawLines<BlockBytes>::End::endOfData || (m_everyLine && !bytes.empty());
  return m_delivered;
}

bool TextLines::passOver(Code code, const std::string& text, Finding::Severity severity) const {
  m_notices.report({.severity = severity,
                    .code = wordOf(code),
                    .file = m_file.path(),
                    .text = text,
                    .line = m_lines.lineNumber()});
  return m_rules.badLinesSkipped;
}

void TextLines::note(Code code, const std::string& text) const {
  m_notices.report(
      {.severity = Finding::Severity::warning, .code = wordOf(code), .file = m_file.path(), .text = text});
}

}  // namespace ctfmeg
