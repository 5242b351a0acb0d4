#pragma once

#include <cstdint>
#include <string>

#include <megreader/framework/cfile.h>
#include <megreader/framework/finding.h>

/// Reports a finding about the resource file, at byte `offset`.
void reportRes4(const CFile& file, const char* code, const wchar_t* text, std::uint64_t offset,
                Finding::Severity severity = Finding::Severity::error);

/// Reports that the file ends within `what`, and gives 0: the result of the step that this ends.
int failShort(const CFile& file, const wchar_t* what);

/// Reports that the names in `what` end nowhere, and gives 0.
int failWithoutEnds(const CFile& file, const wchar_t* what);
