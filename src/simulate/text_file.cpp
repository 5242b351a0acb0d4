#include "simulate/text_file.h"

#include <array>
#include <charconv>

#include "simulate/output_file.h"

namespace ctfmeg::simulate {

std::string numberText(double value) {
  constexpr int kDigits = 6;
  std::array<char, 32> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, kDigits).ptr;
  return {text.data(), end};
}

std::string signedText(double value) { return (value < 0 ? "" : "+") + numberText(value); }
std::string signedText(int value) { return (value < 0 ? "" : "+") + std::to_string(value); }

void writeText(const std::filesystem::path& path, const std::string& text) {
  OutputFile file(path);
  file.write(text);
  file.close();
}

}  // namespace ctfmeg::simulate
