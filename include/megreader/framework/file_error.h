#pragma once

#include <megreader/framework/exceptions.h>
#include <megreader/framework/export.h>
#include <megreader/framework/finding.h>

/// What a person needs to know of a file error: which file, why, in the system's words. Code `file.notFound`,
/// `file.noPermission`, or `file.error` for every other cause.
MEGREADER_API Finding findingOf(const CFileException& error,
                                Finding::Severity severity = Finding::Severity::error);
