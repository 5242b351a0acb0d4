#include "fuzz/fixture.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <megreader/framework/native_path.h>

namespace {

class Directory {
 public:
  Directory() {
    namespace fs = std::filesystem;
    const fs::path memory = "/dev/shm";
    const fs::path parent = fs::is_directory(memory) ? memory : fs::temp_directory_path();
    m_top = parent / ("megreader-fuzz-" + std::to_string(getpid()));
    fs::create_directories(m_top / "run.ds");
    path = (m_top / "run.ds" / "").string();
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() { std::filesystem::remove_all(m_top); }

  std::string path;

 private:
  std::filesystem::path m_top;
};

}  // namespace

const std::string& fuzzDirectory() {
  static const Directory directory;
  return directory.path;
}

void writeFuzzFile(const std::string& name, const std::uint8_t* bytes, std::size_t size) {
  std::ofstream file(fuzzDirectory() + name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
}

CString fuzzBase() { return toWindowsPath(fuzzDirectory() + "run."); }
