#pragma once

#include <vector>

#include <megreader/datamodel/meg_datazk.h>
#include <megreader/framework/finding.h>
#include <ctfmeg/events.h>
#include <ctfmeg/finding.h>
#include <ctfmeg/head.h>
#include <ctfmeg/information.h>
#include <ctfmeg/record.h>

namespace ctfmeg {

// From the data model to the plain structs.

RecordInfo convertRecord(const CMEGRecordInfozkProzk& info);
std::vector<Channel> convertChannels(const CMEGData& data);
std::vector<CoefficientRecord> convertCoefficients(const CCoefficientManagerzk& manager);
std::vector<std::string> convertBadChannels(const CMEGDatazk& data);
std::vector<BadSegment> convertBadSegments(const CMEGDatazk& data);
std::vector<Marker> convertMarkers(const CMarkerManagerzk& manager);
/// Without their trials' numbers when the reading did not keep them.
std::vector<TrialClass> convertClasses(const CMarkerManagerzk& manager, bool trialsKept);
Fiducials convertFiducials(const CMEGDatazk& data);
std::vector<Electrode> convertElectrodes(const CMEGData& data);
Digitised convertDigitised(const CMEGDatazk& data);
Information convertInformation(const DatasetInformation& from);
std::vector<VirtualChannel> convertVirtualChannels(const CMEGDatazk& data);
Finding convertFinding(const ::Finding& finding);

}  // namespace ctfmeg
