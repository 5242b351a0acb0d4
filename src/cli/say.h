#pragma once

#include <string>

namespace ctfmeg::cli {

/// A line on standard error: `ctfmeg: PATH: text`, or `ctfmeg: text` without a path.
void say(const std::string& path, const std::string& text);

/// Ends what was written to standard output; throws CommandError when it could not be written.
void finishOutput();

}  // namespace ctfmeg::cli
