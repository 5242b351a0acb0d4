#pragma once

#include <memory>

#include "ctf/head_coils.h"
#include "ctf/resource_layout.h"

#include <ctfmeg/events.h>
#include <ctfmeg/information.h>
#include <megreader/datamodel/fiducials.h>
#include <megreader/datamodel/markers.h>
#include <megreader/datamodel/meg_data.h>
#include <megreader/datamodel/record_info.h>
#include <megreader/datamodel/sensors.h>

// From the plain structs of ctf/ to the data model, and back where what a data object holds is read over.

ctfmeg::RecordInfo recordOf(const CMEGRecordInfo& info);

/// Stores everything but the filters.
void store(const ctfmeg::RecordInfo& record, CMEGRecordInfo& info);

std::unique_ptr<FilterInfo> toDataModel(const ctfmeg::Filter& filter);

/// The sensor with its squid and its gain; null when there is no memory for them.
std::unique_ptr<CMEGSensorzk> toDataModel(const ctfmeg::SensorRecord& record);

CCoefficientDatazk toDataModel(const ctfmeg::CoefficientFields& fields);

/// What markers and classes have in common; null when there is no memory for the object. No display name.
std::unique_ptr<CMarkerDatazk> toDataModel(const ctfmeg::EventGroup& group);

ctfmeg::HeadCoilSet coilsOf(const CFiducialzk& set);
void store(const ctfmeg::HeadCoilSet& coils, CFiducialzk& set);

/// Adds the entries to those of `information`, sets the members of their tags so far as their values fit
/// them, and replaces the text.
void store(const ctfmeg::Information& read, DatasetInformation& information);

/// Null when there is no memory for it.
std::unique_ptr<CEEGelectrodezk> toDataModel(const ctfmeg::Electrode& electrode);

DigitisedFiducial toDataModel(const ctfmeg::DigitisedFiducial& fiducial);
VirtualChannel toDataModel(const ctfmeg::VirtualChannel& channel);
