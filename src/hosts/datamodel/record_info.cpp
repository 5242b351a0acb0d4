#include <megreader/datamodel/record_info.h>

#include <algorithm>

#include "base/counts.h"

#include <megreader/framework/exceptions.h>

CCoefficientManager::CCoefficientManager(const CCoefficientManager& other) : count(other.count) {
  if (other.m_held == 0) return;
  m_held = other.m_held;
  m_sets = std::make_unique<CCoefficientDatazk[]>(static_cast<std::size_t>(m_held));
  std::copy_n(other.m_sets.get(), m_held, m_sets.get());
}

CCoefficientManager& CCoefficientManager::operator=(const CCoefficientManager& other) {
  CCoefficientManager copy(other);
  count = copy.count;
  m_sets = std::move(copy.m_sets);
  m_held = copy.m_held;
  return *this;
}

int CCoefficientManager::addCoefficientsData(int number, CCoefficientDatazk* sets) {
  if (sets == nullptr || number < 1) return 0;
  m_sets.reset(sets);
  m_held = number;
  return 1;
}

const CCoefficientDatazk& CCoefficientManager::coefficients(int index) const {
  if (index < 0 || index >= numHeld()) AfxThrowInvalidArgException();
  return m_sets[static_cast<std::size_t>(index)];
}

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
