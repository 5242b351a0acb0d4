#include "meg4/meg4_findings.h"

#include <megreader/framework/user_interface.h>

void reportMeg4(const CString& file, const char* code, const CString& text, Finding::Severity severity) {
  reportFinding({.severity = severity, .code = code, .file = file, .text = text});
}
