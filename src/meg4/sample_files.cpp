#include "meg4/sample_files.h"

#include <algorithm>
#include <array>
#include <new>

#include <megreader/datamodel/meg_datazk.h>
#include <megreader/framework/user_interface.h>
#include "meg4/meg4_findings.h"
#include "util/byte_order.h"
#include "util/file_bytes.h"

namespace {

constexpr std::array<char, kSampleHeaderSize> kHeader{'M', 'E', 'G', '4', '1', 'C', 'P', '\0'};

}  // namespace

SampleCounts sampleCounts(const CMEGDatazk* data) {
  if (data == nullptr) return {};
  const CMEGRecordInfozkProzk& info = *data->getMEGRecordInfozk();
  return {info.numTrials, info.numChannels, info.samplesPerTrial};
}

std::uint64_t countedBytes(std::uint64_t bytes, const ReadingRules& rules) {
  return rules.wideCounts ? bytes : static_cast<std::uint32_t>(bytes);
}

std::uint64_t channelBlockBytes(const SampleCounts& counts) {
  return static_cast<std::uint64_t>(counts.samples) * sizeof(std::int32_t);
}

std::uint64_t trialBytes(const SampleCounts& counts) {
  return channelBlockBytes(counts) * static_cast<std::uint64_t>(counts.channels);
}

CString sampleFileName(const CString& prefix, int index) {
  CString name;
  if (index == 0)
    name.Format(L"%smeg4", prefix);
  else
    name.Format(L"%s%d_meg4", prefix, index);
  return name;
}

bool openSampleFile(CFile& file, const CString& prefix, int index) {
  CFileException error;
  if (!openShared(file, sampleFileName(prefix, index), error)) {
    AfxMessageBox(L"Failed");
    return false;
  }
  std::array<char, kSampleHeaderSize> header{};
  if (file.Read(header.data(), header.size()) == header.size() && header == kHeader) return true;
  const bool empty = file.GetLength() == 0;
  reportMeg4(file.GetFilePath(), "meg4.magic",
             empty ? L"is empty" : L"is not a CTF sample file: it does not begin with MEG41CP",
             Finding::Severity::error);
  AfxMessageBox(L"Invalid CTF data file!");
  return false;
}

std::uint64_t sampleBytes(const CFile& file) {
  const std::uint64_t length = file.GetLength();
  return length > kSampleHeaderSize ? length - kSampleHeaderSize : 0;
}

void SampleFiles::setUnit(std::uint64_t unitBytes) {
  m_unitBytes = unitBytes;
  m_bufferBytes = std::min(unitBytes, m_largestFile);
}

bool SampleFiles::allocate(std::uint64_t unitBytes) {
  setUnit(unitBytes);
  m_buffer.reset(new (std::nothrow) std::int32_t[static_cast<std::size_t>((m_bufferBytes + 3) / 4)]);
  return m_buffer != nullptr;
}

bool SampleFiles::readUnit() {
  if (m_buffer == nullptr && !allocate(m_unitBytes)) throw std::bad_alloc();
  return read(m_buffer.get(), static_cast<std::size_t>(m_bufferBytes)) == m_unitBytes;
}

bool SampleFiles::readTogether(std::span<std::int32_t> values) {
  const std::uint64_t bytes = values.size_bytes();
  const Rest here = bytes >= ParallelRead::kWorthIt ? rest() : Rest{};
  if (here.bytes < bytes || here.file == nullptr) return false;
  const std::uint64_t start = here.file->GetPosition();
  const bool whole = m_parallel.read(*here.file, start, values);
  here.file->Seek(static_cast<std::int64_t>(whole ? start + bytes : start), CFile::begin);
  if (whole) passed(bytes);
  return whole;
}

bool SampleFiles::readUnitInto(std::span<std::int32_t> values) {
  if (readTogether(values)) return true;
  if (read(values.data(), values.size_bytes()) != values.size_bytes()) return false;
  samplesToHostOrder(values);
  return true;
}

bool SampleFiles::readUnitsAtOnce(std::span<std::int32_t> values) {
  try {
    return readTogether(values);
  } catch (CFileException* error) {
    error->Delete();
    return false;
  }
}

std::unique_ptr<SampleFiles> openSampleFiles(const CString& prefix, const SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available) {
  if (!counts.valid()) {
    CString text;
    text.Format(L"can't be imported: it says %d trials of %d samples in %d channels", counts.trials,
                counts.samples, counts.channels);
    reportMeg4(prefix + L"res4", "res4.counts", text, Finding::Severity::error);
    return nullptr;
  }
  return rules.filesAreOneSequence ? openTrialSequence(prefix, counts)
                                   : openSampleSlots(prefix, counts, rules, available);
}
