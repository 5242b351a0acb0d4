#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <megreader/framework/cfile.h>
#include <megreader/framework/finding.h>

/// Opens a file for reading. On failure reports a finding that says why.
bool openForReading(CFile& file, const CString& path, unsigned flags, CFileException& error,
                    Finding::Severity severity = Finding::Severity::error);

/// The same, sharing the file with everybody.
bool openShared(CFile& file, const CString& path, CFileException& error);

/// The next `count` bytes; fewer where the file ends, and room is made for no more than it holds. Throws what
/// the file throws.
std::vector<std::byte> readUpTo(CFile& file, std::int64_t count);

/// The next `count` bytes, or nothing when the file holds fewer.
std::optional<std::vector<std::byte>> readExactly(CFile& file, std::int64_t count);
