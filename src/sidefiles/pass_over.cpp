#include "framework/user_interface.h"
#include "reader/ctf_dataset_reader.h"

bool CCtfReader8Bad::passOver(const LineSource& lines, const char* code, const wchar_t* text) const {
  reportFinding({.severity = Finding::Severity::warning,
                 .code = code,
                 .file = lines.file(),
                 .text = text,
                 .line = lines.lineNumber()});
  return m_rules.badLinesSkipped;
}
