#include <utility>

#include "support/unreadable_file.h"

// A process's own memory: nothing is mapped at its start.
UnreadableFile::UnreadableFile(std::filesystem::path path) : m_path(std::move(path)) {
  std::filesystem::create_symlink("/proc/self/mem", m_path);
}

bool UnreadableFile::works() const { return std::filesystem::exists(m_path); }

UnreadableFile::~UnreadableFile() { std::filesystem::remove(m_path); }
