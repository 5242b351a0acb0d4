#include "recording/collected.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {

void CollectedFindings::report(const Finding& finding) {
  constexpr int kMostOfAKind = 100;  // a file of rubbish has one for each of its lines
  const std::string place = finding.offset ? std::to_string(*finding.offset)
                            : finding.line ? std::to_string(*finding.line)
                                           : "";
  const std::string kind = finding.code + '\n' + finding.file;
  if (m_ofAKind[kind] > kMostOfAKind) return;
  if (!m_known.insert(kind + '\n' + place + '\n' + finding.text).second) return;
  if (++m_ofAKind[kind] <= kMostOfAKind)
    m_findings.push_back(finding);
  else
    m_findings.push_back({finding.severity, finding.code, finding.file, "and more of this kind"});
}

Error CollectedFindings::errorAbout(const std::filesystem::path& file) const {
  for (const Finding& finding : m_findings)
    if (finding.severity == Finding::Severity::error)
      return {kindOf(finding), finding.file.empty() ? file : pathFromText(finding.file), finding.text,
              m_findings};
  return {ErrorKind::damaged, file, m_findings.empty() ? "can't be read" : m_findings.back().text,
          m_findings};
}

void throwAsError(const FileError& error) {
  Finding finding = findingOf(error);
  const ErrorKind kind = kindOf(finding);
  throw Error(kind, pathFromText(error.path()), error.text(), {std::move(finding)});
}

}  // namespace ctfmeg
