#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recording/compensation.h"

#include <ctfmeg/epochs.h>
#include <ctfmeg/recording.h>

namespace ctfmeg::describe {

/// Why a dataset could not be read.
struct ShownError {
  ErrorKind kind = ErrorKind::damaged;
  std::string file;    ///< the file that is the reason, as said on standard error
  std::string text;    ///< one sentence about that file
  std::string reason;  ///< the same about the dataset: names the file where that is another
};

/// The samples that a selection leaves of a dataset.
struct StoredSamples {
  Shape shape;
  bool isRun = false;  ///< channels x samples
  bool isEpochs = false;
  /// For each trial its number in the file; of a run, those that it is made of.
  std::vector<std::int64_t> fileTrials;
  double firstTime = 0.0;  ///< seconds from the trigger to the first sample, or from the start of the run
  std::vector<Gap> gaps;   ///< of a run
};

/// When samples were, after a selection.
struct Timing {
  double sampleRate = 0.0, acquisitionRate = 0.0;  ///< Hz
  double firstTime = 0.0;                          ///< seconds from the trigger to the first sample
  std::optional<bool> trialsAdjoin;                ///< nothing where no clock says so
  std::vector<Gap> gaps;                           ///< between trials that are selected
};

/// Everything that is shown of a dataset. Commands show what is in here and nothing else, so that `redacted`
/// has the last word. A dataset that could not be read has its path, the error and the findings.
struct ShownDataset {
  bool redacted = false;  ///< members that can name a person are empty, and JSON leaves them out
  std::string path;       ///< as given
  std::string name;
  Rules rules = Rules::plain;
  RecordInfo record;
  std::optional<StoredSamples> stored;  ///< nothing without a selection
  std::optional<SampleFiles> files;     ///< nothing where nobody looked
  Timing timing;
  std::vector<double> trialStarts;  ///< seconds from the first sample of trial 0; `runTime` counts from them
  std::vector<Channel> channels;
  std::vector<CoefficientRecord> coefficients;
  std::vector<Marker> markers;
  std::vector<TrialClass> classes;
  CompensationOrders compensation;
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

  /// More findings, with their codes.
  void add(const std::vector<Finding>& more);
};

/// What a selection leaves of a recording.
struct SelectedSamples {
  RecordInfo record;
  std::shared_ptr<const SampleSource> source;  ///< null without a selection
  bool isRun = false;                          ///< the trials as one
  std::vector<Finding> findings{};             ///< beyond those of the recording
  std::vector<Occurrence> epochs{};            ///< of each trial, where these are epochs
  LeftOut leftOut{};
};

/// Trials of which `info` says when they were: two samples of each are read to know it.
inline constexpr int kMostTrials = 1000;

/// What was noticed about the sample files. None of it is an error to whoever does not read them.
std::vector<Finding> aboutSamples(const Recording& recording);

/// Header and side files.
ShownDataset described(const std::string& path, const Recording& recording);
/// What sample files hold, and when at most `mostTrials` trials were, too.
ShownDataset described(const std::string& path, const Recording& recording, const SelectedSamples& selected,
                       int mostTrials);
/// Only path, name, rules, record and findings: what is kept of each of thousands of datasets.
ShownDataset describedRecord(const std::string& path, const Recording& recording);
ShownDataset described(const std::string& path, const Error& error);

/// Seconds from the first sample of trial 0 to a time in a trial, gaps included where a clock shows them.
/// Nothing for a trial that the run does not have.
std::optional<double> runTime(const ShownDataset& dataset, std::int32_t trial, double secondsInTrial);
std::optional<double> runTime(const ShownDataset& dataset, const MarkerSample& sample);
std::optional<double> runTime(const ShownDataset& dataset, const BadSegment& segment);

/// The order of the gradient compensation that a sensor's samples carry; nothing for other channels.
std::optional<std::int32_t> gradientOrderOf(const Channel& channel);

/// The last name of a path: a dataset's own name, without the folders above it, which may be a person's.
std::string lastName(const std::string& path);

// Without what can name a person. Names of channels, markers, classes, electrodes and fiducials are taken for
// what they are and stay.

std::string redacted(const std::string& path);
std::vector<Finding> redacted(std::vector<Finding> findings);
ShownDataset redacted(ShownDataset dataset);

}  // namespace ctfmeg::describe
