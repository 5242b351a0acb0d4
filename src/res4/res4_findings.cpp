#include "res4/res4_findings.h"

#include <megreader/framework/user_interface.h>

void reportRes4(const CFile& file, const char* code, const wchar_t* text, std::uint64_t offset,
                Finding::Severity severity) {
  reportFinding({.severity = severity,
                 .code = code,
                 .file = file.GetFilePath(),
                 .text = text,
                 .offset = static_cast<std::int64_t>(offset)});
}

int failShort(const CFile& file, const wchar_t* what) {
  CString text;
  text.Format(L"is cut short: it ends at byte %u, within %s", file.GetLength(), what);
  reportRes4(file, "res4.short", text.GetString(), file.GetLength());
  return 0;
}

int failWithoutEnds(const CFile& file, const wchar_t* what) {
  CString text;
  text.Format(L"has names that end nowhere, within %s", what);
  reportRes4(file, "res4.names", text.GetString(), file.GetPosition());
  return 0;
}
