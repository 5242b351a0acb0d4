#pragma once

#include <cstddef>

#include <megreader/framework/finding.h>

/// Bytes before the first trial of every sample file.
inline constexpr std::size_t kSampleHeaderSize = 8;

/// Reports a finding about a sample file.
void reportMeg4(const CString& file, const char* code, const CString& text, Finding::Severity severity);
