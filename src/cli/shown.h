#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands.h"

#include <ctfmeg/recording.h>

namespace ctfmeg::cli {

/// Why a dataset could not be read.
struct ShownError {
  ErrorKind kind = ErrorKind::damaged;
  std::string file;    ///< the file that is the reason, as said on standard error
  std::string text;    ///< one sentence about that file
  std::string reason;  ///< the same about the dataset: names the file where that is another
};

/// The samples that a selection leaves of a dataset.
struct StoredSamples {
  std::vector<std::int64_t> fileTrials;  ///< for each trial its number in the file
  std::int64_t samples = 0;              ///< of each trial
  double firstTime = 0.0;                ///< seconds from the trigger to the first sample of the first trial
};

/// Everything that the commands show of a dataset. A command shows what is in here and nothing else, so that
/// `redacted` has the last word. A dataset that could not be read has its path, the error and the findings.
struct ShownDataset {
  bool redacted = false;  ///< members that can name a person are empty, and JSON leaves them out
  std::string path;       ///< as given
  std::string name;
  Rules rules = Rules::plain;
  RecordInfo record;
  std::optional<StoredSamples> stored;  ///< nothing without a selection
  std::vector<Channel> channels;
  std::vector<CoefficientRecord> coefficients;
  std::vector<Marker> markers;
  std::vector<TrialClass> classes;
  Fiducials fiducials;
  std::vector<Electrode> electrodes;
  Digitised digitised;
  Information information;  ///< each tag once, where it was set first, with its last value
  std::vector<std::string> badChannels;
  std::vector<BadSegment> badSegments;
  std::vector<VirtualChannel> virtualChannels;
  std::vector<Finding> findings;
  std::vector<std::string> warningCodes;  ///< of all findings that are no remarks, redacted ones too
  std::optional<ShownError> error;
};

/// What a selection leaves of a recording.
struct SelectedSamples {
  RecordInfo record;
  std::shared_ptr<const SampleSource> source;
  std::vector<Finding> findings;  ///< beyond those of the recording
};

ShownDataset describe(const std::string& path, const Recording& recording,
                      const std::optional<SelectedSamples>& selected = {});
/// Only path, name, rules, record and findings: what is kept of each of thousands of datasets.
ShownDataset describeRecord(const std::string& path, const Recording& recording);
ShownDataset describe(const std::string& path, const Error& error);

/// The last name of a path: a dataset's own name, without the folders above it, which may be a person's.
std::string lastName(const std::string& path);

// Without what can name a person. Names of channels, markers, classes, electrodes and fiducials are taken for
// what they are and stay.

std::string redacted(const std::string& path);
std::vector<Finding> redacted(std::vector<Finding> findings);
ShownDataset redacted(ShownDataset dataset);

/// `value` as the options allow it to be shown.
template <class T>
T shown(T value, const ReadingOptions& options) {
  return options.noIdentity ? redacted(std::move(value)) : value;
}

}  // namespace ctfmeg::cli
