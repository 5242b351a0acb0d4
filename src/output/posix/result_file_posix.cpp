#include "output/result_file.h"

namespace ctfmeg::output {

std::FILE* ResultFile::open(const std::filesystem::path& file, bool mustBeNew) {
  return std::fopen(file.c_str(), mustBeNew ? "wbx" : "wb");
}

}  // namespace ctfmeg::output
