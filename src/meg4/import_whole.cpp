#include <memory>
#include <optional>

#include "framework/cprogresszk.h"
#include "framework/user_interface.h"
#include "meg4/import_loops.h"
#include "meg4/meg4_findings.h"
#include "meg4/sample_files.h"
#include "reader/ctf_dataset_reader.h"
#include "util/byte_order.h"

namespace {

/// What the importers of whole datasets share: the file set, the progress window, and room for what they
/// store.
class WholeImport {
 public:
  WholeImport(CMEGDatazk& data, const CString& prefix, std::unique_ptr<SampleFiles> files,
              const wchar_t* title, std::int32_t range)
      : m_data(data), m_prefix(prefix), m_files(std::move(files)) {
    m_progress.showProgress(title);
    m_progress.setRange(0, range);
  }

  /// False, the user told, without memory.
  bool prepare(ImportUnit unit, std::uint64_t unitBytes, const SampleCounts& counts) {
    const bool allocated = m_files->allocate(unitBytes);
    m_scope.emplace(
        m_data, ImportPlan{unit, m_files->trials(), counts.channels, counts.samples, m_files->unitValues()});
    if (allocated && m_scope->ready()) return true;
    reportMeg4(sampleFileName(m_prefix, 0), "memory", L"needs more memory than there is for its samples",
               Finding::Severity::error);
    AfxMessageBox(L"Allocate Memeory error! Is dataset too big?!");
    m_files.reset();
    m_data.openTrial(0);
    return false;
  }

  SampleFiles& files() { return *m_files; }
  CProgresszk& progress() { return m_progress; }

  /// The unit last read, in host order.
  const std::int32_t* samples() {
    samplesToHostOrder(m_files->unit());
    return m_files->unit().data();
  }

 private:
  CMEGDatazk& m_data;
  CString m_prefix;
  std::unique_ptr<SampleFiles> m_files;
  CProgresszk m_progress;
  std::optional<ImportScope> m_scope;
};

}  // namespace

int CCtfReader1Samples::readCtfDataT(const CString& path) {
  const SampleCounts counts = sampleCounts(m_currentData);
  const CString prefix = getFilePathBasic(path);
  auto files = openSampleFiles(prefix, counts, m_rules);
  if (!files) return 0;
  WholeImport import(*m_currentData, prefix, std::move(files), L"Importing CTF MEG data T...", counts.trials);
  if (!import.prepare(ImportUnit::trial, trialBytes(counts, m_rules, prefix), counts)) return 0;

  readTrials(import.files(), import.progress(), [&](std::int32_t trial) {
    m_currentData->importCtfDataT(trial, counts.channels, counts.samples, import.samples());
  });
  return 1;
}

int CCtfReader1Samples::readCtfDataC(const CString& path) {
  const SampleCounts counts = sampleCounts(m_currentData);
  const CString prefix = getFilePathBasic(path);
  auto files = openSampleFiles(prefix, counts, m_rules);
  if (!files) return 0;
  WholeImport import(*m_currentData, prefix, std::move(files), L"Importing CTF MEG data ...",
                     counts.channels);
  if (!import.prepare(ImportUnit::channelBlock, channelBlockBytes(counts), counts)) return 0;

  readChannelBlocks(import.files(), counts.channels, import.progress(),
                    [&](std::int32_t trial, std::int32_t channel) {
                      m_currentData->importCtfDataC(trial, channel, counts.samples, import.samples());
                    });
  return 1;
}
