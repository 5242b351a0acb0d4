#include "datamodel/meg/coefficients.h"

#include "framework/exceptions.h"

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
