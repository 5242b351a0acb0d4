#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "hosts/reader/ctf_dataset_reader.h"

/// The entry point of every target here: reads the bytes as one file of a dataset, by host rules and by plain
/// rules. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

/// The reader object of one reading, with a data object of its own.
class FuzzReader : public CCtfDatasetReader {
 public:
  explicit FuzzReader(const ReadingRules& rules) : CCtfDatasetReader(rules) {
    m_currentData = &data;
    data.getMEGRecordInfozk()->sampleRate = 1200.0;
    data.getMEGRecordInfozk()->preTrigSamples = 240;
  }

  CMEGDatazk data;
};

/// The directory of this process's dataset, "run.ds" in memory; removed at the end. Ends in a slash.
const std::string& fuzzDirectory();

/// Writes a file into that directory.
void writeFuzzFile(const std::string& name, const std::uint8_t* bytes, std::size_t size);

/// The path up to and including the dot before the extension, as readers take it.
CString fuzzBase();

/// Runs `read(reader)` by host rules and by plain rules. A file error ends it, as it ends a host's reading.
template <class Read>
int byBothRules(Read read) {
  for (const ReadingRules& rules : {ReadingRules::host(), ReadingRules::plain()}) {
    FuzzReader reader(rules);
    try {
      read(reader);
    } catch (CException* error) {
      error->Delete();
    }
  }
  return 0;
}

/// A target for one file: writes the input under that name and reads it.
template <class Read>
int asFile(const std::string& name, const std::uint8_t* bytes, std::size_t size, Read read) {
  writeFuzzFile(name, bytes, size);
  return byBothRules(read);
}
