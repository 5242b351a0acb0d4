#pragma once

#include <cstdint>

/// Bytes of memory that this process may use: the machine's, or less where a control group limits it.
std::uint64_t grantedMemory();
