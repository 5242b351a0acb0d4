#include <algorithm>
#include <vector>

#include "hosts/framework/file_search.h"
#include <megreader/framework/user_interface.h>
#include "meg4/meg4_findings.h"
#include "meg4/sample_files.h"

namespace {

/// The whole trials of all files as one sequence. One file is open at a time, so a set may have any number.
class TrialSequence : public SampleFiles {
 public:
  bool open(const CString& prefix, const SampleCounts& counts) {
    m_prefix = prefix;
    const std::uint64_t trialSize = trialBytes(counts);
    std::uint64_t strayBytes = 0;
    int index = 0;
    for (; m_trials < counts.trials; ++index) {
      if (index > 0 && (!exists(index) || isStump(index))) return endEarly(index, counts.trials, strayBytes);
      if (strayBytes > 0)
        return fail(index - 1, "meg4.cut",
                    L"ends within a trial although the set goes on: what follows can't be placed");
      if (!openSampleFile(m_file, m_prefix, index)) return false;
      reportUneven(index - 1);
      const std::uint64_t bytes = sampleBytes(m_file);
      const auto missing = static_cast<std::uint64_t>(counts.trials - m_trials);
      // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no count below 1 comes here
      const std::uint64_t wholeTrials = std::min(bytes / trialSize, missing);
      m_trials += static_cast<std::int32_t>(wholeTrials);
      m_fileBytes.push_back(wholeTrials * trialSize);
      m_largestFile = std::max(m_largestFile, m_fileBytes.back());
      m_heldBytes += m_fileBytes.back();
      strayBytes = bytes - m_fileBytes.back();
    }
    if (strayBytes > 0) reportTrailing(strayBytes);
    if (exists(index))
      report(index, "meg4.trailing", L"is not read: the run ends before it", Finding::Severity::warning);
    return true;
  }

  /// Reading moves on by itself, exactly where a file's whole trials end.
  bool nextFile() override { return false; }

 protected:
  std::size_t read(void* buffer, std::size_t bytes) override {
    if (!openNext()) return 0;
    const std::size_t got =
        m_file.Read(buffer, static_cast<std::size_t>(std::min<std::uint64_t>(bytes, m_left)));
    if (got < bytes) {
      reportMeg4(m_file.GetFilePath(), "meg4.changed", L"became shorter while it was read",
                 Finding::Severity::error);
      AfxThrowFileException(CFileException::invalidFile, -1, m_file.GetFilePath());
    }
    m_left -= got;
    return got;
  }

  Rest rest() override { return openNext() ? Rest{&m_file, m_left} : Rest{}; }

  void passed(std::uint64_t bytes) override { m_left -= bytes; }

 private:
  /// Whether an open file has something left, or else the next one, which is then open.
  bool openNext() {
    while (m_left == 0) {
      if (m_next == m_fileBytes.size()) return false;
      const auto index = static_cast<int>(m_next);
      if (!openSampleFile(m_file, m_prefix, index))
        AfxThrowFileException(CFileException::invalidFile, -1, sampleFileName(m_prefix, index));
      m_left = m_fileBytes[m_next++];
    }
    return true;
  }

  bool exists(int index) const { return fileExists(sampleFileName(m_prefix, index)); }

  /// An acquisition that crashed while it began a file leaves less than a header, and nothing behind it.
  bool isStump(int index) const {
    CFile file;
    return file.Open(sampleFileName(m_prefix, index), CFile::modeRead | CFile::shareDenyNone) &&
           file.GetLength() < kSampleHeaderSize && !exists(index + 1);
  }

  /// Files of a set are filled before the next is begun: one with fewer trials than the first may have lost
  /// some, and then those behind it have other numbers than they had.
  void reportUneven(int index) const {
    if (index < 1 || m_fileBytes[static_cast<std::size_t>(index)] >= m_fileBytes[0]) return;
    report(index, "meg4.uneven",
           L"holds fewer trials than the files before it: if some were lost, those behind it are "
           L"numbered wrongly",
           Finding::Severity::warning);
  }

  void report(int index, const char* code, const CString& text, Finding::Severity severity) const {
    reportMeg4(sampleFileName(m_prefix, index), code, text, severity);
  }

  bool fail(int index, const char* code, const wchar_t* text) const {
    report(index, code, text, Finding::Severity::error);
    AfxMessageBox(L"Failed");
    return false;
  }

  /// File `missing` is not there, although trials are.
  bool endEarly(int missing, std::int32_t trials, std::uint64_t strayBytes) {
    if (exists(missing + 1))
      return fail(missing, "meg4.gap", L"is missing although the set goes on: what follows can't be placed");
    if (m_trials == 0) return fail(0, "meg4.empty", L"holds no whole trial");
    CString text;
    text.Format(L"ends early: %d of %d trials are there whole", m_trials, trials);
    if (strayBytes > 0) text += L", the next one in part";
    report(missing - 1, "meg4.short", text, Finding::Severity::warning);
    return true;
  }

  void reportTrailing(std::uint64_t strayBytes) const {
    CString text;
    text.Format(L"has %u bytes behind the last trial of the run", strayBytes);
    reportMeg4(m_file.GetFilePath(), "meg4.trailing", text, Finding::Severity::warning);
  }

  CString m_prefix;
  CFile m_file;
  std::vector<std::uint64_t> m_fileBytes;  // of whole trials that are read, file by file
  std::size_t m_next = 0;                  // file to open next
  std::uint64_t m_left = 0;                // bytes to read from the open one
};

}  // namespace

std::unique_ptr<SampleFiles> openTrialSequence(const CString& prefix, const SampleCounts& counts) {
  auto files = std::make_unique<TrialSequence>();
  if (!files->open(prefix, counts)) return nullptr;
  return files;
}
