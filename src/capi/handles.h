#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <ctfmeg/ctfmeg.h>
#include <ctfmeg/overview.h>
#include <ctfmeg/processing.h>
#include <ctfmeg/recording.h>

// Handles are numbers in the form of pointers, which lead to no memory: they are looked up in a table, so
// that one that was closed, or never was one, is recognised.

namespace ctfmeg::capi {

/// An open recording, and how it was opened.
struct OpenRecording {
  Recording recording;
  std::string path;  ///< as given
  int threads = 0;
  ctfmeg_finding_function onFinding = nullptr;
  void* user = nullptr;

  /// Calls the callback with each.
  void report(const std::vector<Finding>& findings) const;
};

/// Samples of a recording.
struct OpenView {
  std::shared_ptr<const OpenRecording> of;
  Selection selection;
  Processing processing;
  ProcessedSamples samples{};
  std::optional<std::int64_t> averaged{};  ///< trials or epochs that `source` is the mean of
  /// What is read: of `samples`, or their average.
  std::shared_ptr<const SampleSource> source{};
  std::unique_ptr<const Overview> overview{};

  /// Whether integers can be had: values are neither computed nor missing.
  bool hasRaw() const;
};

ctfmeg_recording* handleOf(std::shared_ptr<const OpenRecording> recording);
ctfmeg_view* handleOf(std::shared_ptr<const OpenView> view);

// They throw Misuse for what is no open handle of that sort.

std::shared_ptr<const OpenRecording> opened(const ctfmeg_recording* handle);
std::shared_ptr<const OpenView> opened(const ctfmeg_view* handle);
void close(const ctfmeg_recording* handle);
void close(const ctfmeg_view* handle);

}  // namespace ctfmeg::capi
