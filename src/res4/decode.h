#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <megreader/datamodel/record_info.h>
#include <megreader/datamodel/meg_sensor.h>
#include <megreader/framework/cstring.h>
#include <megreader/reader/reading_rules.h>

// The resource file's blocks from bytes to data-model structs. No function opens or shows anything.

struct GeneralHeaderResult {
  bool complete = false;              ///< false: the block ended early; the fields before that are set
  bool triggerFormatUnknown = false;  ///< true: the trigger codes are as they were
};

/// The general header, from byte 8 of the file to the run description.
GeneralHeaderResult decodeGeneralHeader(std::span<const std::byte> block, const ReadingRules& rules,
                                        CMEGRecordInfozkProzk& info);

/// A filter record of 18 bytes, without its parameters.
std::unique_ptr<FilterInfo> decodeFilter(std::span<const std::byte> record, const ReadingRules& rules);

/// 8 bytes for each parameter of `filter`.
void decodeFilterParameters(std::span<const std::byte> block, const ReadingRules& rules, FilterInfo& filter);

struct ChannelName {
  CString name;
  CString shortName;
};

/// The name of channel `index` from the block of all names (32 bytes a channel).
ChannelName decodeChannelName(std::span<const std::byte> block, std::size_t index, const ReadingRules& rules);

/// CTF sensor type index to the data model's sensor type code; -1 for an index outside 0 to 29.
int mapSensorType(std::int16_t index);

/// A sensor record of 1328 bytes; its gain is computed. Null when there is no memory.
std::unique_ptr<CMEGSensorzk> decodeSensor(std::span<const std::byte> record, const ReadingRules& rules);

/// A coefficient record of 1992 bytes and what follows it in the block, for a name without a zero byte may
/// run past the record. False when it names more references than a record holds.
bool decodeCoefficients(std::span<const std::byte> record, const ReadingRules& rules,
                        CCoefficientDatazk& coefficients);
