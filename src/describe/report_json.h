#pragma once

#include <string>

#include <ctfmeg/edit.h>

namespace ctfmeg::describe {

/// What was done to a dataset or for a copy of it, as JSON: "schema": 1, "dataset" (what was written),
/// "changes": for each {"file", "field" (null: the file as a whole), "what", "count"}, and "warnings".
std::string reportJson(const std::string& written, const CopyReport& report);

/// The same with "names": those that stay, by what they are names of.
std::string reportJson(const std::string& written, const AnonymiseReport& report);

}  // namespace ctfmeg::describe
