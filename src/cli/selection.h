#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <ctfmeg/epochs.h>
#include <ctfmeg/selection.h>

namespace ctfmeg::cli {

// What an option that selects samples, or bits of them, says. Nothing when it can't be understood.

/// A number from 1.
std::optional<int> parseCount(const std::string& text);

/// A finite number.
std::optional<double> parseSeconds(const std::string& text);

/// 32 bits, as a decimal number or one that begins with 0x.
std::optional<std::uint32_t> parseBits(const std::string& text);

/// "FIRST:LAST".
std::optional<SampleSpan> parseSpan(const std::string& text);

/// "S:S", in seconds.
std::optional<Epoching::Baseline> parseBaseline(const std::string& text);

/// "KIND=LIMIT,KIND=LIMIT", each limit above 0.
std::optional<std::vector<PeakToPeak>> parseLimits(const std::string& text);

/// "0,2,5-7", each once.
std::optional<std::vector<int>> parseTrials(const std::string& text);

/// The texts between the commas of a list.
std::optional<std::vector<std::string>> parseNames(const std::string& text);

}  // namespace ctfmeg::cli
