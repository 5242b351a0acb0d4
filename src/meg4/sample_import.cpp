#include "meg4/sample_import.h"

#include <algorithm>

#include <megreader/framework/user_interface.h>
#include "meg4/meg4_findings.h"
#include <megreader/reader/basic_read_unix2window.h>
#include "util/byte_order.h"

SampleImport::SampleImport(const CString& path, const CMEGDatazk* source, const ReadingRules& rules,
                           const std::optional<SampleMemory>& memory, int threads)
    : m_prefix(CBasicReadUnix2Window::getFilePathBasic(path)),
      m_counts(sampleCounts(source)),
      m_rules(rules),
      m_memory(memory),
      m_threads(threads) {}

bool SampleImport::open(AvailableBytes available) {
  m_files = openSampleFiles(m_prefix, m_counts, m_rules, available);
  if (m_files == nullptr) return false;
  m_files->setThreads(m_threads);
  return true;
}

void SampleImport::showProgress(const wchar_t* title, std::int32_t range) {
  m_progress.showProgress(title);
  m_progress.setRange(0, range);
}

bool SampleImport::prepare(CMEGDatazk& data, ImportPlan plan, std::uint64_t unitBytes,
                           const wchar_t* message) {
  if (!m_files->allocate(unitBytes)) return failWithoutMemory(message) != 0;
  if (plan.unitValues == 0) plan.unitValues = static_cast<std::int64_t>(unit().size());
  return openScope(data, plan, message);
}

bool SampleImport::prepareInPlace(CMEGDatazk& data, ImportPlan plan, std::uint64_t unitBytes,
                                  const wchar_t* message) {
  // A trial that is counted wrongly, or that no file holds, has no place to be made ready.
  if (unitBytes != trialBytes(m_counts) || unitBytes > m_files->largestFile())
    return prepare(data, plan, unitBytes, message);
  m_inPlace = true;
  m_files->setUnit(unitBytes);
  plan.unitValues = static_cast<std::int64_t>(unitBytes / sizeof(std::int32_t));
  return openScope(data, plan, message);
}

bool SampleImport::openScope(CMEGDatazk& data, ImportPlan plan, const wchar_t* message) {
  plan.channels = m_counts.channels;
  if (plan.trials == 0) plan.trials = m_files->trials();
  plan.heldBytes = m_files->heldBytes();
  plan.memory = m_memory;
  m_scope.emplace(data, plan);
  return m_scope->ready() || failWithoutMemory(message) != 0;
}

bool SampleImport::readTrial(std::int32_t trial) {
  m_place = {};
  if (!m_inPlace) return m_files->readUnit();
  if (trial < m_readUpTo || readTogether(trial)) {
    m_place = m_scope->room(trial, 1);
    return true;
  }
  // A place is made ready only for a trial that is there whole.
  if (m_files->unitsHeld() == 0) return m_files->readUnit();
  m_place = m_scope->room(trial, 1);
  return m_files->readUnitInto(m_place);
}

bool SampleImport::readTogether(std::int32_t first) {
  if (first < m_readSinglyUpTo) return false;
  // Enough to keep several processors busy, and few enough that whoever watches sees the reading go on.
  constexpr std::uint64_t kTogether = std::uint64_t{1} << 24;
  const auto left = static_cast<std::uint64_t>(trials() - first);
  const std::uint64_t count = std::min({kTogether / trialBytes(m_counts), m_files->unitsHeld(), left});
  if (count < 2 || count * trialBytes(m_counts) < ParallelRead::kWorthIt) return false;
  const auto places = m_scope->room(first, static_cast<std::int32_t>(count));
  if (!m_files->readUnitsAtOnce(places)) {
    // A place that can't be read may take seconds each time it is tried.
    m_readSinglyUpTo = first + static_cast<std::int32_t>(count);
    return false;
  }
  m_readUpTo = first + static_cast<std::int32_t>(count);
  return true;
}

int SampleImport::failWithoutMemory(const wchar_t* message) {
  reportMeg4(sampleFileName(m_prefix, 0), "memory", L"needs more memory than there is for its samples",
             Finding::Severity::error);
  if (message != nullptr) AfxMessageBox(message);
  m_files.reset();
  return 0;
}

std::uint64_t SampleImport::countedTrialBytes() const {
  const std::uint64_t bytes = trialBytes(m_counts);
  const std::uint64_t counted = countedBytes(bytes, m_rules);
  if (counted != bytes) {
    CString text;
    text.Format(L"holds trials of %u bytes, of which only the first %u are read", bytes, counted);
    reportMeg4(sampleFileName(m_prefix, 0), "meg4.wrapped", text, Finding::Severity::warning);
  }
  return counted;
}

const std::int32_t* SampleImport::samples() const {
  if (!m_place.empty()) return m_place.data();
  samplesToHostOrder(unit());
  return unit().data();
}

void setSamplesPerTrial(CMEGDatazk& data, std::int64_t samples) {
  CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
  info.samplesPerTrial = info.samplesPerTrialAcq = static_cast<std::int32_t>(samples);
}
