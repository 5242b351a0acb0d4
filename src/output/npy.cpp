#include "output/npy.h"

namespace ctfmeg::output {

std::string npyHeader(const std::string& type, const std::vector<std::int64_t>& shape) {
  constexpr std::size_t kPreambleSize = 10;  // magic, version and the length of the dictionary
  constexpr std::size_t kAlignment = 64;     // NumPy maps files into memory
  std::string dictionary = "{'descr': '" + type + "', 'fortran_order': False, 'shape': (";
  for (std::size_t i = 0; i < shape.size(); ++i)
    dictionary += (i == 0 ? "" : ", ") + std::to_string(shape[i]);
  dictionary += "), }";
  const std::size_t unpadded = kPreambleSize + dictionary.size() + 1;
  dictionary += std::string((kAlignment - unpadded % kAlignment) % kAlignment, ' ') + '\n';
  std::string header("\x93NUMPY\x01\x00", 8);
  header += static_cast<char>(dictionary.size() & 0xFF);
  header += static_cast<char>(dictionary.size() >> 8);
  return header + dictionary;
}

}  // namespace ctfmeg::output
