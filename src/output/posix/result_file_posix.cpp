#include "output/result_file.h"

namespace ctfmeg::output {

std::FILE* ResultFile::open(const std::filesystem::path& file, bool mustBeNew) {
  return std::fopen(file.c_str(), mustBeNew ? "wbx" : "wb");
}

bool ResultFile::seek(std::FILE* file, std::uint64_t offset) {
  return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
}

}  // namespace ctfmeg::output
