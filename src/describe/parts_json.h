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

}  // namespace ctfmeg::describe
