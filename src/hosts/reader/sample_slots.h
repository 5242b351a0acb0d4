#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "ctf/sample_set.h"

#include <megreader/framework/cstring.h>
#include <megreader/reader/reading_rules.h>

// A path's prefix is the path up to and including the dot before the extension.

/// `prefix` + "meg4" for index 0, then `prefix` + "1_meg4" and so on.
CString sampleFileName(const CString& prefix, int index);

/// A byte count as importers keep it where 32 bits are theirs.
std::uint64_t countedBytes(std::uint64_t bytes, const ReadingRules& rules);

/// How an importer adds up the bytes that a file set holds.
enum class AvailableBytes { wide, narrow };

/// The sample files of a dataset as an importer reads them: one after another, each from front to back.
/// Operations throw CFileException.
class SampleFiles {
 public:
  SampleFiles() = default;
  SampleFiles(const SampleFiles&) = delete;
  SampleFiles& operator=(const SampleFiles&) = delete;
  virtual ~SampleFiles() = default;

  /// Trials that an importer walks through.
  std::int32_t trials() const { return m_trials; }

  /// Bytes of samples in all files, and in the largest.
  std::uint64_t heldBytes() const { return m_heldBytes; }
  std::uint64_t largestFile() const { return m_largestFile; }

  /// Where the next byte is, and how many the file at hand still holds; null and 0 after the last file.
  struct Rest {
    const ctfmeg::File* file = nullptr;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
  };
  virtual Rest rest() = 0;

  /// Reads on; returns how many bytes, fewer than `out` has room for where the file at hand ends.
  virtual std::size_t read(std::span<std::byte> out) = 0;

  /// Goes on after so many bytes of the file at hand, which the caller has read.
  virtual void skip(std::uint64_t bytes) = 0;

  /// Moves on after a short read. False when there is nothing to move on to.
  virtual bool nextFile() = 0;

 protected:
  void addFile(std::uint64_t sampleBytes);

  std::int32_t m_trials = 0;

 private:
  std::uint64_t m_largestFile = 0;
  std::uint64_t m_heldBytes = 0;
};

/// Host rules: at most eight files, opened only as far as the run's bytes call for, all at once. Where one
/// ends is found out by reading; eight files that are still too short are read as far as they go. Null, and
/// a message shown, when one can't be opened.
std::unique_ptr<SampleFiles> openSampleSlots(const CString& prefix, const ctfmeg::SampleCounts& counts,
                                             const ReadingRules& rules, AvailableBytes available);
