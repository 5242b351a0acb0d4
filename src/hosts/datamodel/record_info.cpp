#include <megreader/datamodel/record_info.h>

#include <algorithm>

#include "base/counts.h"

FilterInfo::FilterInfo(const FilterInfo& other)
    : filterClass(other.filterClass),
      filterType(other.filterType),
      frequency(other.frequency),
      numParams(other.numParams) {
  if (!other.params || numParams < 1) return;
  params = std::make_unique<double[]>(static_cast<std::size_t>(numParams));
  std::copy_n(other.params.get(), numParams, params.get());
}

FilterInfo& FilterInfo::operator=(const FilterInfo& other) {
  if (this != &other) *this = FilterInfo(other);
  return *this;
}

std::int64_t CMEGRecordInfo::getRecordedDataSizeByte() const {
  return ctfmeg::countProduct({numTrials, numChannels, samplesPerTrial, std::int64_t{sizeof(std::int32_t)}});
}
