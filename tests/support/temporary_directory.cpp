#include "support/temporary_directory.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

TemporaryDirectory::TemporaryDirectory() {
  std::random_device random;
  const std::string unique = std::to_string(random()) + std::to_string(random());
  m_path = std::filesystem::temp_directory_path() / ("megreader-test-" + unique);
  std::filesystem::create_directory(m_path);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

void writeFile(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("can't write " + path.string());
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("can't read " + path.string());
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}
