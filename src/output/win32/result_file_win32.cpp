#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include "output/result_file.h"

namespace ctfmeg::output {

std::FILE* ResultFile::open(const std::filesystem::path& file, bool mustBeNew) {
  const int flags = _O_WRONLY | _O_CREAT | _O_BINARY | (mustBeNew ? _O_EXCL : _O_TRUNC);
  const int opened = _wopen(file.c_str(), flags, _S_IREAD | _S_IWRITE);
  return opened < 0 ? nullptr : _fdopen(opened, "wb");
}

bool ResultFile::seek(std::FILE* file, std::uint64_t offset) {
  return _fseeki64(file, static_cast<__int64>(offset), SEEK_SET) == 0;
}

}  // namespace ctfmeg::output
