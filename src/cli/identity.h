#pragma once

#include <string>

namespace ctfmeg::cli {

/// The last name of a path: what may be shown of it when nothing may name a person.
std::string lastName(const std::string& path);

/// `path`, or its last name when nothing may name a person.
std::string shownPath(const std::string& path, bool noIdentity);

}  // namespace ctfmeg::cli
