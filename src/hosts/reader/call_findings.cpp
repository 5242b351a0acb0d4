#include "hosts/reader/call_findings.h"

#include <megreader/framework/user_interface.h>

int failWithoutTarget(const CString& path) {
  reportFinding({.code = "call.argument", .file = path, .text = L"there is nothing to read it into"});
  return 0;
}
