#include "ctf/second_look.h"

#include "ctf/text_lines.h"

namespace ctfmeg {

void TwoLooks::report(const Finding& finding) {
  Finding passed = finding;
  if (m_second && is(finding, Code::textCut)) {  // plain rules may read it; host rules never do
    passed.severity = Finding::Severity::warning;
    passed.text = kLastLine;
  }
  const bool warning = passed.severity == Finding::Severity::warning;
  m_warned = m_warned || warning;
  if (warning || !m_second) m_notices.report(passed);
}

}  // namespace ctfmeg
