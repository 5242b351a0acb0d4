#include "hosts/reader/sample_slots.h"

#include <algorithm>
#include <vector>

#include "base/counts.h"
#include "hosts/framework/bridge.h"

#include <megreader/framework/user_interface.h>

namespace {

constexpr std::size_t kSlots = 8;

/// Null, and a message shown, when the file can't be opened or does not begin as a sample file does.
ctfmeg::OpenFile openSampleFile(const CString& path) {
  ctfmeg::OpenFile file;
  try {
    file = ctfmeg::openLocalFile(nativePath(path));
  } catch (const ctfmeg::FileError& error) {
    reportFinding(hostFinding(findingOf(error)));
    AfxMessageBox(L"Failed");
    return nullptr;
  }
  const auto problem = asFramework([&] { return ctfmeg::sampleHeaderProblem(*file); });
  if (!problem) return file;
  reportFinding(hostFinding(*problem));
  AfxMessageBox(L"Invalid CTF data file!");
  return nullptr;
}

class SampleSlots : public SampleFiles {
 public:
  bool open(const CString& prefix, const ctfmeg::SampleCounts& counts, const ReadingRules& rules,
            AvailableBytes counting) {
    m_prefix = prefix;
    m_trials = counts.trials;
    const auto needed = static_cast<std::uint64_t>(ctfmeg::countProduct(
        {counts.samples, counts.channels, counts.trials, std::int64_t{sizeof(std::int32_t)}}));
    std::uint64_t available = 0;
    while (m_files.size() < kSlots && available < needed) {
      auto file = openSampleFile(sampleFileName(prefix, static_cast<int>(m_files.size())));
      if (file == nullptr) return false;
      const std::uint64_t bytes = asFramework([&] { return ctfmeg::sampleBytes(*file); });
      available += bytes;
      if (counting == AvailableBytes::narrow) available = countedBytes(available, rules);
      addFile(bytes);
      m_files.push_back(std::move(file));
    }
    return true;
  }

  Rest rest() override {
    if (m_current >= m_files.size()) return {};
    const ctfmeg::File& file = *m_files[m_current];
    const std::uint64_t size = asFramework([&] { return file.size(); });
    return {&file, m_offset, std::max(size, m_offset) - m_offset};
  }

  /// Hosts rely on the move to a file after the last opened one: the read there ends the import with a file
  /// error.
  std::size_t read(std::span<std::byte> out) override {
    if (m_current >= m_files.size()) failAfterLast();
    const std::size_t got = asFramework([&] { return m_files[m_current]->readAt(m_offset, out); });
    m_offset += got;
    return got;
  }

  void skip(std::uint64_t bytes) override { m_offset += bytes; }

  bool nextFile() override {
    if (m_current >= m_files.size()) return false;
    ++m_current;
    m_offset = ctfmeg::kSampleHeaderSize;
    return true;
  }

 private:
  [[noreturn]] void failAfterLast() const {
    const CString last = sampleFileName(m_prefix, static_cast<int>(m_files.size()) - 1);
    reportFinding({.code = ctfmeg::wordOf(ctfmeg::Code::meg4Short),
                   .file = last,
                   .text = m_files.size() == kSlots
                               ? L"is the last of the eight files that host rules read, and the run goes on"
                               : L"is used up before the import is done, as host rules read the set"});
    AfxThrowFileException(CFileException::invalidFile, -1, last);
  }

  CString m_prefix;
  std::vector<ctfmeg::OpenFile> m_files;
  std::size_t m_current = 0;
  std::uint64_t m_offset = ctfmeg::kSampleHeaderSize;
};

}  // namespace

CString sampleFileName(const CString& prefix, int index) {
  CString name;
  if (index == 0)
    name.Format(L"%smeg4", prefix);
  else
    name.Format(L"%s%d_meg4", prefix, index);
  return name;
}

std::uint64_t countedBytes(std::uint64_t bytes, const ReadingRules& rules) {
  return rules.wideCounts ? bytes : static_cast<std::uint32_t>(bytes);
}

void SampleFiles::addFile(std::uint64_t sampleBytes) {
  m_largestFile = std::max(m_largestFile, sampleBytes);
  m_heldBytes += sampleBytes;
}

std::unique_ptr<SampleFiles> openSampleSlots(const CString& prefix, const ctfmeg::SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available) {
  auto files = std::make_unique<SampleSlots>();
  if (!files->open(prefix, counts, rules, available)) return nullptr;
  return files;
}
