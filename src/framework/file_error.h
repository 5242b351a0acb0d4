#pragma once

#include "framework/exceptions.h"
#include "framework/export.h"
#include "framework/finding.h"

/// What a person needs to know of a file error: which file, why, in the system's words. Code `file.notFound`,
/// `file.noPermission`, or `file.error` for every other cause.
MEGREADER_API Finding findingOf(const CFileException& error,
                                Finding::Severity severity = Finding::Severity::error);
