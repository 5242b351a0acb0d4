#include "hosts/datamodel/trial_storage.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "base/counts.h"
#include "hosts/framework/bridge.h"

#include <ctfmeg/path_text.h>
#include <megreader/framework/native_path.h>
#include <megreader/framework/user_interface.h>

using ctfmeg::Code;
using ctfmeg::wordOf;

TrialStorage::TrialStorage(const TrialStorage& other) {
  if (!reserve(other.m_plan)) throw std::bad_alloc();
  const std::size_t valueSize = summed() ? sizeof(double) : sizeof(std::int32_t);
  const std::size_t bytes = static_cast<std::size_t>(trialValues()) * valueSize;
  for (std::int32_t trial = 0; trial < numTrials(); ++trial) {
    if (!other.stored(trial)) continue;
    use(trial, 1, valueSize);
    const std::size_t offset = static_cast<std::size_t>(trial) * bytes;
    std::memcpy(static_cast<char*>(m_memory.data()) + offset,
                static_cast<const char*>(other.m_memory.data()) + offset, bytes);
  }
  m_stored = other.m_stored;
  m_fileTrials = other.m_fileTrials;
}

TrialStorage& TrialStorage::operator=(const TrialStorage& other) {
  if (this != &other) *this = TrialStorage(other);
  return *this;
}

bool TrialStorage::reserve(const ImportPlan& plan) {
  *this = TrialStorage();
  if (plan.parts < 1) return false;
  const std::size_t valueSize = plan.unit == ImportUnit::summedTrial ? sizeof(double) : sizeof(std::int32_t);
  const std::int64_t bytes =
      ctfmeg::countProduct({plan.trials, plan.channels, plan.samples, static_cast<std::int64_t>(valueSize)});
  if (bytes == 0) return true;
  if (bytes == ctfmeg::kCountOverflow ||
      static_cast<std::uint64_t>(bytes) > std::numeric_limits<std::size_t>::max())
    return false;
  const std::uint64_t widest = valueSize / sizeof(std::int32_t);
  const auto all = static_cast<std::uint64_t>(bytes);
  const auto trials = static_cast<std::uint64_t>(plan.trials);
  const std::uint64_t most = plan.mostTrials != 0 ? static_cast<std::uint64_t>(plan.mostTrials) : trials;
  const std::uint64_t expected = std::min({all, plan.heldBytes * widest, all / trials * most});
  if (!obtain(plan, static_cast<std::size_t>(bytes), expected)) return false;
  m_stored.assign(static_cast<std::size_t>(plan.trials), false);
  m_fileTrials.assign(static_cast<std::size_t>(plan.trials), 0);
  m_plan = plan;
  return true;
}

bool TrialStorage::obtain(const ImportPlan& plan, std::size_t bytes, std::uint64_t expected) {
  const std::uint64_t granted = ctfmeg::grantedMemory();
  if (!plan.memory) return expected <= granted && m_memory.reserve(bytes);
  const std::uint64_t limit = plan.memory->limit != 0 ? plan.memory->limit : granted / 2;
  if (expected > limit) {
    // Without a place for the file, memory may still do where no limit was named.
    const bool mayStay = plan.memory->limit == 0 && expected <= granted;
    if (spill(plan, bytes, expected, mayStay)) return true;
    if (!mayStay) return false;
  }
  return m_memory.reserve(bytes);
}

bool TrialStorage::spill(const ImportPlan& plan, std::size_t bytes, std::uint64_t expected, bool mayStay) {
  const CString& named = plan.memory->spillDirectory;
  const CString folder =
      named.IsEmpty() ? toWindowsPath(ctfmeg::textOf(ctfmeg::largeTemporaryFolder())) : named;
  // Trials that are chosen lie anywhere in the range: room is taken for each when it comes.
  const std::size_t atOnce = plan.mostTrials == 0 ? static_cast<std::size_t>(expected) : 0;
  const std::error_code failed = m_memory.reserveInFile(nativePath(folder), bytes, atOnce);
  CString text;
  if (failed) {
    text.Format(L"can't take the %u bytes of samples that are more than memory is to hold: %s", expected,
                hostText(failed.message()));
    const auto severity = mayStay ? Finding::Severity::warning : Finding::Severity::error;
    reportFinding({.severity = severity, .code = wordOf(Code::memorySpill), .file = folder, .text = text});
    return false;
  }
  text.Format(L"holds the %u bytes of samples, which are more than memory is to hold: reading is slower",
              expected);
  reportFinding({.severity = Finding::Severity::remark,
                 .code = wordOf(Code::samplesSpilled),
                 .file = folder,
                 .text = text});
  return true;
}

template <class T>
T* TrialStorage::writable(std::int32_t trial) {
  if (!stored(trial)) use(trial, 1, sizeof(T));
  return values<T>(trial);
}

void TrialStorage::use(std::int32_t first, std::int32_t count, std::size_t valueSize) {
  const std::size_t bytes = static_cast<std::size_t>(trialValues()) * valueSize;
  const auto offset = static_cast<std::size_t>(first) * bytes;
  if (const std::error_code failed = m_memory.use(offset, static_cast<std::size_t>(count) * bytes)) {
    CString text;
    text.Format(L"there is no room for the samples of trial %d: %s", first, hostText(failed.message()));
    reportFinding({.code = wordOf(Code::memorySpill), .file = {}, .text = text});
    throw std::bad_alloc();
  }
}

std::span<std::int32_t> TrialStorage::room(std::int32_t first, std::int32_t count) {
  if (summed() || first < 0 || count < 1 || count > numTrials() - first) return {};
  use(first, count, sizeof(std::int32_t));
  return {values<std::int32_t>(first), static_cast<std::size_t>(count * trialValues())};
}

bool TrialStorage::store(std::int32_t trial, std::int32_t channel, const std::int32_t* values,
                         std::int64_t count, std::int32_t fileTrial) {
  if (summed() || !inRange(trial) || channel < 0 || channel >= m_plan.channels) return false;
  if (values == nullptr || count < 0) return false;
  const std::int64_t first = channel * m_plan.samples;
  const std::int64_t taken = std::min(count, trialValues() - first);
  std::int32_t* place = writable<std::int32_t>(trial) + first;
  if (place != values) std::memcpy(place, values, static_cast<std::size_t>(taken) * sizeof *values);
  markStored(trial, fileTrial);
  return true;
}

bool TrialStorage::storeSums(std::int32_t trial, const double* values, std::int64_t count) {
  if (!summed() || !inRange(trial) || values == nullptr || count < 0) return false;
  const std::int64_t taken = std::min(count, trialValues());
  std::memcpy(writable<double>(trial), values, static_cast<std::size_t>(taken) * sizeof *values);
  markStored(trial, trial);
  return true;
}

void TrialStorage::markStored(std::int32_t trial, std::int32_t fileTrial) {
  m_stored[static_cast<std::size_t>(trial)] = true;
  m_fileTrials[static_cast<std::size_t>(trial)] = fileTrial;
}

const std::int32_t* TrialStorage::trial(std::int32_t trial) const {
  return !summed() && stored(trial) ? values<std::int32_t>(trial) : nullptr;
}

const double* TrialStorage::sums(std::int32_t trial) const {
  return summed() && stored(trial) ? values<double>(trial) : nullptr;
}

TrialOrigin TrialStorage::origin(std::int32_t trial) const {
  if (!inRange(trial)) return {};
  const std::int64_t piece = trial % m_plan.parts;
  return {m_fileTrials[static_cast<std::size_t>(trial)], m_plan.firstSample + piece * m_plan.samples,
          m_plan.step};
}

std::int32_t TrialStorage::numStored() const {
  return static_cast<std::int32_t>(std::count(m_stored.begin(), m_stored.end(), true));
}
