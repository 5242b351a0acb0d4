#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "base/file.h"

/// A file whose content is at hand.
class MemoryFile : public ctfmeg::File {
 public:
  explicit MemoryFile(std::string content) : File("memory"), m_content(std::move(content)) {}

  std::uint64_t size() const override { return m_content.size(); }
  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    if (offset >= m_content.size()) return 0;
    const auto start = static_cast<std::size_t>(offset);
    const std::size_t count = std::min(out.size(), m_content.size() - start);
    std::memcpy(out.data(), m_content.data() + start, count);
    return count;
  }

 private:
  std::string m_content;
};

/// Keeps what is noticed.
class KeptNotices : public ctfmeg::Notices {
 public:
  void report(const ctfmeg::Finding& finding) override { findings.push_back(finding); }
  std::vector<ctfmeg::Finding> findings;
};
