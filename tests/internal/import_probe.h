#pragma once

#include <string>

#include "internal/probe.h"

/// A reader whose record information says how many samples `dataset` has.
struct Import : Probe {
  Import(const MinimalDataset& dataset, int trials, int channels, int samples,
         const ReadingRules& rules = ReadingRules::host())
      : Probe(rules), path(writeDataset(dataset)) {
    info().numTrials = trials;
    info().numChannels = channels;
    info().samplesPerTrial = samples;
    data.setImportTrace(&trace);
  }

  std::string stored() const { return storedIn(data); }

  /// Every stored trial as "number: values".
  static std::string storedIn(const CMEGDatazk& data) {
    std::string text;
    for (int t = 0; t < data.trialSlots(); ++t) {
      const std::int32_t* values = data.trialSamples(t);
      if (values == nullptr) continue;
      text += std::to_string(t) + ":";
      for (std::int64_t i = 0; i < data.storedChannels() * data.storedSamples(); ++i)
        text += " " + std::to_string(values[i]);
      text += "\n";
    }
    return text;
  }

  /// Result of an import; -1 when it ends in a file error.
  template <class Operation>
  static int outcome(Operation operation) {
    try {
      return operation();
    } catch (CFileException* error) {
      error->Delete();
      return -1;
    }
  }
  int whole() {
    return outcome([this] { return readCtfDataT(path); });
  }
  int blocks() {
    return outcome([this] { return readCtfDataC(path); });
  }

  CString path;
  ImportTrace trace;
};
