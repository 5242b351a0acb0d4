#pragma once

#include <vector>

#include "datamodel/meg/meg_datazk.h"
#include "framework/finding.h"
#include "host/finding.h"
#include "host/record.h"

namespace ctfmeg {

// From the data model to the plain structs.

RecordInfo convertRecord(const CMEGRecordInfozkProzk& info);
std::vector<Channel> convertChannels(const CMEGData& data);
std::vector<CoefficientRecord> convertCoefficients(const CCoefficientManagerzk& manager);
std::vector<std::string> convertBadChannels(const CMEGDatazk& data);
std::vector<BadSegment> convertBadSegments(const CMEGDatazk& data);
Finding convertFinding(const ::Finding& finding);

}  // namespace ctfmeg
