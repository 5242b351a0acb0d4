#pragma once

#include "base/file.h"
#include "base/notices.h"

#include <megreader/framework/exceptions.h>
#include <megreader/framework/finding.h>

// Between the rooms below, which know UTF-8, native paths and exceptions by value, and the hosts' side.

/// Text from the rooms below.
CString hostText(const std::string& utf8);

/// A path in Windows form as the rooms below take it.
std::filesystem::path nativePath(const CString& path);

Finding hostFinding(const ctfmeg::Finding& finding);

/// Hands what readers notice to the current user interface.
class HostNotices : public ctfmeg::Notices {
 public:
  void report(const ctfmeg::Finding& finding) override;
};

/// Throws the framework's exception that says the same.
[[noreturn]] void throwHostException(const ctfmeg::FileError& error);

/// Runs an operation of the rooms below whose file errors are to reach the caller as the framework's.
template <class Operation>
auto asFramework(Operation operation) {
  try {
    return operation();
  } catch (const ctfmeg::FileError& error) {
    throwHostException(error);
  }
}
