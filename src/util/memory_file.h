#pragma once

#include <string>
#include <string_view>

#include <megreader/framework/cfile.h>

/// A file whose content is at hand, for whoever wants to parse bytes that are not on a disk. Reading only
/// forward.
class MemoryFile : public CFile {
 public:
  explicit MemoryFile(std::string_view content) : m_content(content) {}

  std::size_t Read(void* buffer, std::size_t count) override;
  std::uint64_t GetLength() const override { return m_content.size(); }
  std::uint64_t GetPosition() const override { return m_position; }

 private:
  std::string m_content;
  std::size_t m_position = 0;
};
