#pragma once

#include <nlohmann/json_fwd.hpp>

#include "describe/shown.h"
#include "output/json.h"

// The parts of a recording as `info --json` shows them. What may name a person is left out of what is
// redacted.

namespace ctfmeg::describe {

output::Json recordJson(const RecordInfo& record, bool redacted);
output::Json channelJson(const Channel& channel);
output::Json compensationJson(const CompensationOrders& orders);
output::Json coefficientJson(const CoefficientRecord& record);
output::Json markerJson(const Marker& marker, const ShownDataset& dataset);
output::Json classJson(const TrialClass& trialClass, bool redacted);
output::Json fiducialsJson(const Fiducials& fiducials);
output::Json pointJson(const DigitisedPoint& point);
output::Json labelJson(const DigitisedFiducial& fiducial);
output::Json electrodeJson(const Electrode& electrode);
output::Json segmentJson(const BadSegment& segment, const ShownDataset& dataset);
output::Json filesJson(const SampleFiles& files);
output::Json timingJson(const Timing& timing);
output::Json virtualChannelJson(const VirtualChannel& channel);
output::Json warningJson(const Finding& finding);

// The parts of an array of samples as the file beside it has them.

/// `values`: what the samples are.
output::Json arrayChannelJson(const Channel& channel, Values values);
/// `epoch`: the occurrence that it is about; null for a trial that is none.
output::Json arrayTrialJson(const Origin& origin, const Occurrence* epoch);
/// `source`: the run that it is a piece of.
output::Json pieceJson(const Piece& piece, const SampleSource& source);
output::Json gapJson(const Gap& gap);
output::Json leftOutJson(const LeftOut& leftOut);

}  // namespace ctfmeg::describe
