#pragma once

#include <filesystem>
#include <string>

namespace ctfmeg::simulate {

// A number with six digits, as the field's text files have them, on every system the same.
std::string numberText(double value);

// The same with its sign, as marker files have them.
std::string signedText(double value);
std::string signedText(int value);

void writeText(const std::filesystem::path& path, const std::string& text);

}  // namespace ctfmeg::simulate
