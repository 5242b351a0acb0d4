#include "ctf/text_lines.h"

#include <limits>
#include <utility>

#include "ctf/text.h"

namespace ctfmeg {
namespace {

constexpr std::size_t kHostBlock = 4096;    // where blocks end decides under host rules which lines count
constexpr std::size_t kPlainBlock = 65536;  // fewer calls, for files that are far away

bool isBlank(std::string_view bytes) { return bytes.find_first_not_of(" \t") == std::string_view::npos; }

}  // namespace

bool beginsUtf16(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return true;
  if (bytes.size() < 2) return false;
  const bool zeroFirst = bytes[0] == '\0';
  for (std::size_t i = 0; i < bytes.size(); ++i)
    if ((bytes[i] == '\0') != (zeroFirst == (i % 2 == 0))) return false;
  return true;
}

TextLines::TextLines(const File& file, const ReadingRules& rules, Notices& notices, LastLine lastLine)
    : m_file(file),
      m_rules(rules),
      m_notices(notices),
      m_everyLine(rules.everyLine),
      m_deliversUnended(rules.everyLine && lastLine == LastLine::mayLackBreak),
      m_bytes(file, rules.everyLine ? kPlainBlock : kHostBlock),
      m_lines(m_bytes),
      m_length(file.size()) {}

bool TextLines::read(std::string& line, bool blankToo) {
  constexpr std::size_t kLongestUnderHostRules = 2048;
  if (std::exchange(m_again, false)) {
    line = m_last;
    return true;
  }
  if (m_isUtf16 && m_everyLine) return false;
  std::string bytes;
  const auto end = m_lines.next(
      bytes, m_everyLine ? std::numeric_limits<std::size_t>::max() : kLongestUnderHostRules, blankToo);
  line = decodeText(std::string_view(bytes).substr(0, bytes.find('\0')), m_rules);
  m_last = line;
  lookForZeros(bytes);
  const bool ended = end != RawLines<BlockBytes>::End::endOfData;
  if (!ended && !isBlank(bytes)) m_unended = true;
  m_delivered = (ended || (m_deliversUnended && !bytes.empty())) && !(m_isUtf16 && m_everyLine);
  return m_delivered;
}

void TextLines::lookForZeros(std::string_view bytes) {
  const bool first = std::exchange(m_first, false);
  m_isUtf16 = m_isUtf16 || (first && beginsUtf16(bytes));
  if (m_zerosReported || (!m_isUtf16 && bytes.find('\0') == std::string_view::npos)) return;
  m_zerosReported = true;
  if (m_isUtf16)
    note(Code::textEncoding, "is UTF-16 text, not 8-bit text");
  else
    passOver(Code::textEncoding, "has a zero byte, and what follows it in the line is not read");
}

bool TextLines::passOver(Code code, const std::string& text, Finding::Severity severity) const {
  Finding finding{.severity = severity, .code = wordOf(code), .file = m_file.path(), .text = text};
  if (m_lines.lineNumber() > 0) finding.line = m_lines.lineNumber();  // an empty file has none
  const bool again = m_lastFinding.code == finding.code && m_lastFinding.line == finding.line &&
                     m_lastFinding.severity >= severity;
  if (!again) {
    m_notices.report(finding);
    m_warned = m_warned || severity == Finding::Severity::warning;
    m_lastFinding = std::move(finding);
  }
  return m_rules.badLinesSkipped;
}

void TextLines::note(Code code, const std::string& text) const {
  m_warned = true;
  m_notices.report(
      {.severity = Finding::Severity::warning, .code = wordOf(code), .file = m_file.path(), .text = text});
}

void TextLines::finish() {
  if (!m_everyLine) return;
  for (std::string line; !m_unended && next(line);) {
  }
  if (m_unended && !m_isUtf16 && m_lastFinding.line != m_lines.lineNumber())
    passOver(Code::textCut, kLastLine);
}

}  // namespace ctfmeg
