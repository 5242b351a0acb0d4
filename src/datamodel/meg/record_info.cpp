#include "datamodel/meg/record_info.h"

#include "datamodel/meg/sample_count.h"

std::int64_t CMEGRecordInfo::getRecordedDataSizeByte() const {
  return countProduct({numTrials, numChannels, samplesPerTrial, std::int64_t{sizeof(std::int32_t)}});
}
