#include "ctf/sample_set.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <utility>

namespace ctfmeg {
namespace {

constexpr char kHeader[kSampleHeaderSize] = {'M', 'E', 'G', '4', '1', 'C', 'P', '\0'};

/// The number in the name of a file of the set that is not the first; 0 for any other name.
int continuationNumber(const std::string& stem, const std::string& name) {
  int number = 0;
  if (name.size() > stem.size())
    std::from_chars(name.data() + stem.size() + 1, name.data() + name.size(), number);
  return name == sampleFileName(stem, number) ? number : 0;
}

}  // namespace

std::string sampleFileName(const std::string& stem, int index) {
  return stem + "." + (index == 0 ? "" : std::to_string(index) + "_") + "meg4";
}

namespace {

/// Whether all that is there of a header is right.
bool beginsWell(const File& file) {
  std::array<std::byte, kSampleHeaderSize> header{};
  return std::memcmp(header.data(), kHeader, file.readAt(0, header)) == 0;
}

}  // namespace

std::optional<Finding> sampleHeaderProblem(const File& file) {
  if (file.size() >= kSampleHeaderSize && beginsWell(file)) return std::nullopt;
  return Finding{
      .severity = Finding::Severity::error,
      .code = wordOf(Code::meg4Magic),
      .file = file.path(),
      .text = file.size() == 0 ? "is empty" : "is not a CTF sample file: it does not begin with MEG41CP"};
}

std::uint64_t sampleBytes(const File& file) {
  const std::uint64_t size = file.size();
  return size > kSampleHeaderSize ? size - kSampleHeaderSize : 0;
}

SampleSet::SampleSet(const Store& store, std::string stem, const SampleCounts& counts, Notices& notices)
    : m_store(store), m_stem(std::move(stem)), m_counts(counts) {
  try {
    look(notices);
  } catch (const FileError& error) {
    fail(notices, findingOf(error));
  }
}

void SampleSet::report(Notices& notices, Code code, int index, const std::string& text,
                       Finding::Severity severity) const {
  notices.report({.severity = severity,
                  .code = wordOf(code),
                  .file = m_store.pathOf(sampleFileName(m_stem, index)),
                  .text = text});
}

void SampleSet::fail(Notices& notices, Finding finding) {
  notices.report(finding);
  m_failure = std::move(finding);
}

void SampleSet::fail(Notices& notices, Code code, int index, const std::string& text) {
  fail(notices, {.severity = Finding::Severity::error,
                 .code = wordOf(code),
                 .file = m_store.pathOf(sampleFileName(m_stem, index)),
                 .text = text});
}

std::optional<std::uint64_t> SampleSet::sizeOf(int index) const {
  try {
    const OpenFile file = m_store.open(sampleFileName(m_stem, index));
    return file == nullptr ? std::nullopt : std::optional(file->size());
  } catch (const FileError&) {
    return 0;
  }
}

bool SampleSet::goesOnAfter(int index) const {
  if (sizeOf(index + 1)) return true;
  try {
    const auto names = m_store.list();
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return continuationNumber(m_stem, name) > index; });
  } catch (const FileError&) {
    return false;  // a directory may let its files be opened and not be listed
  }
}

void SampleSet::look(Notices& notices) {
  const std::uint64_t trialBytes = m_counts.trialBytes();
  std::uint64_t stray = 0;  // bytes of the last file after its whole trials
  int index = 0;
  for (; m_trials < m_counts.trials; ++index) {
    const OpenFile file = m_store.open(sampleFileName(m_stem, index));
    // An acquisition that crashed while it began a file leaves less than a header, and nothing after it.
    const bool stump =
        file != nullptr && index > 0 && file->size() < kSampleHeaderSize && !goesOnAfter(index);
    if (file == nullptr || stump) break;
    if (stray > 0)
      return fail(notices, Code::meg4Cut, index - 1,
                  "ends within a trial although the set goes on: what follows can't be placed");
    if (auto problem = sampleHeaderProblem(*file)) {
      m_holdsNothing =
          index == 0 && file->size() < kSampleHeaderSize && beginsWell(*file) && !goesOnAfter(index);
      return fail(notices, std::move(*problem));
    }
    // Files of a set are filled before the next is begun.
    if (index > 1 && m_files.back().trials < m_files.front().trials)
      report(notices, Code::meg4Uneven, index - 1,
             "holds fewer trials than the files before it: if some were lost, those after it are numbered "
             "wrongly");
    FileOfSet entry{sampleFileName(m_stem, index), sampleBytes(*file), 0, m_trials, file->identity()};
    const auto missing = static_cast<std::uint64_t>(m_counts.trials - m_trials);
    entry.trials = static_cast<std::int32_t>(std::min(entry.bytes / trialBytes, missing));
    stray = entry.bytes - static_cast<std::uint64_t>(entry.trials) * trialBytes;
    m_trials += entry.trials;
    m_files.push_back(std::move(entry));
  }
  if (m_trials < m_counts.trials) {
    if (stray > 0) {
      const std::uint64_t channels = stray / m_counts.blockBytes();
      const std::uint64_t rest = stray % m_counts.blockBytes();
      m_partial = PartialTrial{static_cast<std::int32_t>(channels),
                               static_cast<std::int64_t>(rest / sizeof(std::int32_t))};
    }
    return endEarly(index, notices);
  }
  m_extraBytes = stray;
  if (stray > 0)
    report(notices, Code::meg4Trailing, index - 1,
           "has " + std::to_string(stray) + " bytes after the last trial of the run");
  if (const auto more = sizeOf(index)) {
    m_extraBytes += *more;
    report(notices, Code::meg4Trailing, index, "is not read: the run ends before it");
  }
}

void SampleSet::endEarly(int missing, Notices& notices) {
  if (goesOnAfter(missing))
    return fail(notices, Code::meg4Gap, missing,
                "is missing although the set goes on: what follows can't be placed");
  m_holdsNothing = m_trials == 0 && !m_partial;
  if (missing == 0)
    return fail(notices, findingOf(FileError::ofMissing(m_store.pathOf(sampleFileName(m_stem, 0)))));
  const std::string ofPartial = m_partial ? std::to_string(m_partial->channels) + " of " +
                                                std::to_string(m_counts.channels) + " channels"
                                          : "";
  if (m_trials == 0)
    return fail(
        notices, Code::meg4Empty, 0,
        "holds no whole trial" + (m_partial ? ": " + ofPartial + " of the first are there whole" : ""));
  std::string text = "ends early: " + std::to_string(m_trials) + " of " + std::to_string(m_counts.trials) +
                     " trials are there whole";
  if (m_partial) text += ", and " + ofPartial + " of the next";
  report(notices, Code::meg4Short, missing - 1, text);
}

OpenFile SampleSet::open(int index) const {
  constexpr std::size_t kMostOpen = 32;  // a set may have any number of files, a process may not
  const std::lock_guard lock(m_mutex);
  const auto known = m_open.find(index);
  if (known != m_open.end()) return known->second;
  const FileOfSet& entry = m_files[static_cast<std::size_t>(index)];
  OpenFile file = m_store.open(entry.name);
  if (file == nullptr) throw FileError::ofMissing(m_store.pathOf(entry.name));
  if (file->identity() != entry.identity)
    throw FileError(FileError::Cause::invalidFile, -1, file->path(),
                    "is another file than when its recording was opened");
  if (m_open.size() >= kMostOpen) m_open.erase(m_open.begin());
  return m_open[index] = std::move(file);
}

SampleSet::Place SampleSet::placeOf(std::int32_t trial, std::int32_t channel) const {
  const auto after = std::upper_bound(m_files.begin(), m_files.end(), trial,
                                      [](std::int32_t t, const FileOfSet& f) { return t < f.firstTrial; });
  // Files without a whole trial begin with the same trial as the next: the last of them holds it.
  const auto index = after - m_files.begin() - 1;
  const auto& entry = m_files[static_cast<std::size_t>(index)];
  return {open(static_cast<int>(index)),
          kSampleHeaderSize + static_cast<std::uint64_t>(trial - entry.firstTrial) * m_counts.trialBytes() +
              static_cast<std::uint64_t>(channel) * m_counts.blockBytes()};
}

void SampleSet::failChanged(const File& file) {
  throw FileError(FileError::Cause::invalidFile, -1, file.path(), "became shorter while it was read");
}

}  // namespace ctfmeg
