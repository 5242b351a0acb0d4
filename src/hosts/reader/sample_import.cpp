#include "hosts/reader/sample_import.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/byte_order.h"
#include "hosts/framework/bridge.h"

#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>
#include <megreader/framework/user_interface.h>
#include <megreader/reader/basic_read_unix2window.h>

using ctfmeg::Code;
using ctfmeg::wordOf;

namespace {

/// The whole trials of all files as one sequence: reading moves on by itself, exactly where a file's whole
/// trials end.
class SampleSequence : public SampleFiles {
 public:
  SampleSequence(const CString& prefix, const ctfmeg::SampleCounts& counts)
      : m_store(nativePath(CBasicReadUnix2Window::getFilePathDir(prefix))),
        m_set(m_store, toUtf8(CBasicReadUnix2Window::getFileName(prefix)), counts, m_notices) {
    m_trials = m_set.trials();
    for (const auto& file : m_set.files())
      addFile(bytesOf(file));
  }

  const std::optional<ctfmeg::Finding>& failure() const { return m_set.failure(); }

  Rest rest() override {
    while (m_left == 0) {
      if (m_next == m_set.files().size()) return {};
      const auto& file = m_set.files()[m_next++];
      m_left = bytesOf(file);
      if (m_left > 0) m_place = asFramework([&] { return m_set.placeOf(file.firstTrial, 0); });
    }
    return {m_place.file.get(), m_place.offset, m_left};
  }

  std::size_t read(std::span<std::byte> out) override {
    const Rest here = rest();
    if (here.file == nullptr) return 0;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), here.bytes));
    const std::size_t got = asFramework([&] { return here.file->readAt(here.offset, out.first(wanted)); });
    if (got < out.size()) failChanged(toWindowsPath(here.file->path()));
    skip(got);
    return got;
  }

  void skip(std::uint64_t bytes) override {
    m_place.offset += bytes;
    m_left -= bytes;
  }

  bool nextFile() override { return false; }

 private:
  std::uint64_t bytesOf(const ctfmeg::SampleSet::FileOfSet& file) const {
    return static_cast<std::uint64_t>(file.trials) * m_set.counts().trialBytes();
  }

  [[noreturn]] static void failChanged(const CString& path) {
    reportFinding(
        {.code = wordOf(Code::meg4Changed), .file = path, .text = L"became shorter while it was read"});
    AfxThrowFileException(CFileException::invalidFile, -1, path);
  }

  HostNotices m_notices;
  ctfmeg::LocalStore m_store;
  ctfmeg::SampleSet m_set;
  std::size_t m_next = 0;  // file of the set to go on with
  ctfmeg::SampleSet::Place m_place;
  std::uint64_t m_left = 0;  // bytes to read from there on
};

std::unique_ptr<SampleFiles> openSampleSequence(const CString& prefix, const ctfmeg::SampleCounts& counts) {
  auto files = std::make_unique<SampleSequence>(prefix, counts);
  if (!files->failure()) return files;
  AfxMessageBox(is(*files->failure(), Code::meg4Magic) ? L"Invalid CTF data file!" : L"Failed");
  return nullptr;
}

}  // namespace

ctfmeg::SampleCounts sampleCounts(const CMEGDatazk* data) {
  if (data == nullptr) return {};
  const CMEGRecordInfozkProzk& info = *data->getMEGRecordInfozk();
  return {info.numTrials, info.numChannels, info.samplesPerTrial};
}

std::unique_ptr<SampleFiles> openSampleFiles(const CString& prefix, const ctfmeg::SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available) {
  if (!counts.valid()) {
    CString text;
    text.Format(L"can't be imported: it says %d trials of %d samples in %d channels", counts.trials,
                counts.samples, counts.channels);
    reportFinding({.code = wordOf(Code::res4Counts), .file = prefix + L"res4", .text = text});
    return nullptr;
  }
  return rules.filesAreOneSequence ? openSampleSequence(prefix, counts)
                                   : openSampleSlots(prefix, counts, rules, available);
}

SampleImport::SampleImport(const CString& path, const CMEGDatazk* source, const ReadingRules& rules,
                           const std::optional<SampleMemory>& memory, int threads)
    : m_prefix(CBasicReadUnix2Window::getFilePathBasic(path)),
      m_counts(sampleCounts(source)),
      m_rules(rules),
      m_memory(memory),
      m_workers(threads < 0 ? 1 : threads) {}

bool SampleImport::open(AvailableBytes available) {
  m_files = openSampleFiles(m_prefix, m_counts, m_rules, available);
  return m_files != nullptr;
}

void SampleImport::showProgress(const wchar_t* title, std::int32_t range) {
  m_progress.showProgress(title);
  m_progress.setRange(0, range);
}

void SampleImport::setUnit(std::uint64_t unitBytes) {
  m_unitBytes = unitBytes;
  m_bufferBytes = std::min(unitBytes, m_files->largestFile());
}

bool SampleImport::makeBuffer() {
  m_buffer.reset(new (std::nothrow) std::int32_t[static_cast<std::size_t>((m_bufferBytes + 3) / 4)]);
  return m_buffer != nullptr;
}

bool SampleImport::prepare(CMEGDatazk& data, ImportPlan plan, std::uint64_t unitBytes,
                           const wchar_t* message) {
  setUnit(unitBytes);
  if (!makeBuffer()) return failWithoutMemory(message) != 0;
  if (plan.unitValues == 0) plan.unitValues = static_cast<std::int64_t>(unit().size());
  return openScope(data, plan, message);
}

bool SampleImport::prepareInPlace(CMEGDatazk& data, ImportPlan plan, std::uint64_t unitBytes,
                                  const wchar_t* message) {
  // A trial that is counted wrongly, or that no file holds, has no place to be made ready.
  if (unitBytes != m_counts.trialBytes() || unitBytes > m_files->largestFile())
    return prepare(data, plan, unitBytes, message);
  m_inPlace = true;
  setUnit(unitBytes);
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

int SampleImport::failWithoutMemory(const wchar_t* message) {
  reportFinding({.code = wordOf(Code::memory),
                 .file = sampleFileName(m_prefix, 0),
                 .text = L"needs more memory than there is for its samples"});
  if (message != nullptr) AfxMessageBox(message);
  m_files.reset();
  return 0;
}

std::uint64_t SampleImport::countedTrialBytes() const {
  const std::uint64_t bytes = m_counts.trialBytes();
  const std::uint64_t counted = countedBytes(bytes, m_rules);
  if (counted != bytes) {
    CString text;
    text.Format(L"holds trials of %u bytes, of which only the first %u are read", bytes, counted);
    reportFinding({.severity = Finding::Severity::warning,
                   .code = wordOf(Code::meg4Wrapped),
                   .file = sampleFileName(m_prefix, 0),
                   .text = text});
  }
  return counted;
}

const std::int32_t* SampleImport::samples() const {
  if (!m_place.empty()) return m_place.data();
  ctfmeg::samplesToHostOrder(unit());
  return unit().data();
}

bool SampleImport::readTrial(std::int32_t trial) {
  m_place = {};
  if (!m_inPlace) return readUnit();
  if (trial < m_readUpTo || readTogether(trial)) {
    m_place = m_scope->room(trial, 1);
    return true;
  }
  // A place is made ready only for a trial that is there whole.
  if (m_files->rest().bytes < m_unitBytes) return readUnit();
  m_place = m_scope->room(trial, 1);
  return readUnitInto(m_place);
}

bool SampleImport::readUnit() {
  if (m_buffer == nullptr && !makeBuffer()) throw std::bad_alloc();
  const auto room = std::as_writable_bytes(std::span(m_buffer.get(), (m_bufferBytes + 3) / 4));
  return m_files->read(room.first(static_cast<std::size_t>(m_bufferBytes))) == m_unitBytes;
}

bool SampleImport::readUnitInto(std::span<std::int32_t> values) {
  const SampleFiles::Rest here = m_files->rest();
  if (asFramework([&] { return readShared(here, values); })) return true;
  if (m_files->read(std::as_writable_bytes(values)) != values.size_bytes()) return false;
  ctfmeg::samplesToHostOrder(values);
  return true;
}

bool SampleImport::readShared(const SampleFiles::Rest& here, std::span<std::int32_t> values) {
  const std::size_t bytes = values.size_bytes();
  if (bytes < ctfmeg::kWorthThreads || here.bytes < bytes) return false;
  if (!ctfmeg::readSamples(m_workers, *here.file, here.offset, values)) return false;
  m_files->skip(bytes);
  return true;
}

bool SampleImport::readTogether(std::int32_t first) {
  if (first < m_readSinglyUpTo) return false;
  // Enough to keep several processors busy, and few enough that whoever watches sees the reading go on.
  constexpr std::uint64_t kTogether = std::uint64_t{1} << 24;
  const auto left = static_cast<std::uint64_t>(trials() - first);
  const SampleFiles::Rest here = m_files->rest();
  const std::uint64_t count = std::min({kTogether / m_unitBytes, here.bytes / m_unitBytes, left});
  if (count < 2 || count * m_unitBytes < ctfmeg::kWorthThreads) return false;
  const auto places = m_scope->room(first, static_cast<std::int32_t>(count));
  const std::int32_t end = first + static_cast<std::int32_t>(count);
  try {
    if (readShared(here, places)) {
      m_readUpTo = end;
      return true;
    }
  } catch (const ctfmeg::FileError&) {
    // Reading the trials one by one shows which of them can't be read, and why.
  }
  // A place that can't be read may take seconds each time it is tried.
  m_readSinglyUpTo = end;
  return false;
}
