#pragma once

#include <cstdint>
#include <optional>

/// Megabytes (1,000,000 bytes, truncated) of a recording that is so large that the user is asked about it;
/// nothing up to 400,000,000 bytes.
std::optional<std::int64_t> megabytesToAskAbout(std::int64_t bytes);
