#pragma once

#include <string>
#include <vector>

#include "base/file.h"

#include <ctfmeg/events.h>
#include <ctfmeg/head.h>
#include <ctfmeg/information.h>
#include <ctfmeg/reading_rules.h>
#include <ctfmeg/record.h>

namespace ctfmeg {

/// Everything that a dataset's files say, but the samples.
struct Dataset {
  RecordInfo record;
  std::vector<Channel> channels;
  std::vector<CoefficientRecord> coefficients;
  std::vector<std::string> badChannels;
  std::vector<BadSegment> badSegments;
  std::vector<Marker> markers;
  std::vector<TrialClass> classes;
  Fiducials fiducials;
  std::vector<Electrode> electrodes;
  Digitised digitised;
  Information information;
  std::vector<VirtualChannel> virtualChannels;
};

/// Reads the files of the dataset called `stem` that are in `store`. Only the resource file must be there;
/// what is wrong with others is reported, and what they say until then counts. False, the reason reported,
/// when the resource file can't be read or says that there is no channel or no trial.
bool readDataset(const Store& store, const std::string& stem, const ReadingRules& rules, Notices& notices,
                 Dataset& dataset);

}  // namespace ctfmeg
