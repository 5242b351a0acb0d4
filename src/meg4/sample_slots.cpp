#include <algorithm>
#include <array>

#include "hosts/datamodel/sample_count.h"
#include "meg4/meg4_findings.h"
#include "meg4/sample_files.h"

namespace {

constexpr std::size_t kSlots = 8;

/// At most eight files, opened only as far as the run's bytes call for, all at once. Where one ends is found
/// out by reading; eight files that are still too short are read as far as they go.
class SampleSlots : public SampleFiles {
 public:
  bool open(const CString& prefix, const SampleCounts& counts, const ReadingRules& rules,
            AvailableBytes counting) {
    m_prefix = prefix;
    m_trials = counts.trials;
    const std::int64_t needed =
        countProduct({counts.samples, counts.channels, counts.trials, std::int64_t{sizeof(std::int32_t)}});
    std::uint64_t available = 0;
    while (m_opened < kSlots && available < static_cast<std::uint64_t>(needed)) {
      CFile& file = m_files[m_opened];
      if (!openSampleFile(file, prefix, static_cast<int>(m_opened))) return false;
      const std::uint64_t bytes = sampleBytes(file);
      available += bytes;
      if (counting == AvailableBytes::narrow) available = countedBytes(available, rules);
      m_largestFile = std::max(m_largestFile, bytes);
      m_heldBytes += bytes;
      ++m_opened;
    }
    return true;
  }

  bool nextFile() override {
    if (m_current >= m_opened) return false;
    ++m_current;
    return true;
  }

 protected:
  /// Hosts rely on the move to a file behind the last opened one: the read there ends the import with a file
  /// error.
  std::size_t read(void* buffer, std::size_t bytes) override {
    if (m_current < m_opened) return m_files[m_current].Read(buffer, bytes);
    const CString last = sampleFileName(m_prefix, static_cast<int>(m_opened) - 1);
    reportMeg4(last, "meg4.short",
               m_opened == kSlots
                   ? L"is the last of the eight files that host rules read, and the run goes on"
                   : L"is used up before the import is done, as host rules read the set",
               Finding::Severity::error);
    AfxThrowFileException(CFileException::invalidFile, -1, last);
  }

  Rest rest() override {
    if (m_current >= m_opened) return {};
    CFile& file = m_files[m_current];
    const std::uint64_t position = file.GetPosition();
    return {&file, std::max(file.GetLength(), position) - position};
  }

  void passed(std::uint64_t /*bytes*/) override {}

 private:
  CString m_prefix;
  std::array<CFile, kSlots> m_files;
  std::size_t m_opened = 0;
  std::size_t m_current = 0;
};

}  // namespace

std::unique_ptr<SampleFiles> openSampleSlots(const CString& prefix, const SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available) {
  auto files = std::make_unique<SampleSlots>();
  if (!files->open(prefix, counts, rules, available)) return nullptr;
  return files;
}
