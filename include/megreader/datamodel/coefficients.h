#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// One compensation coefficient record: the weights with which reference channels are combined with a sensor.
class MEGREADER_API CCoefficientDatazk {
 public:
  static constexpr std::size_t kReferenceSlots = 50;  ///< in a record of the file

  CString sensorName;
  std::uint32_t coefficientType = 0;  ///< four characters, most significant first: 0x47314252 is "G1BR"
  std::int32_t numReferences = 0;     ///< at most 50; as read, so a damaged file may leave it negative
  // As many as there are references.
  std::vector<CString> referenceNames;
  std::vector<double> values;
};

/// The coefficient records of a dataset, in file order. Copies are deep.
class MEGREADER_API CCoefficientManager {
 public:
  CCoefficientManager() = default;
  CCoefficientManager(const CCoefficientManager& other);
  CCoefficientManager& operator=(const CCoefficientManager& other);
  ~CCoefficientManager() = default;

  /// What the file promises; the resource-file reader sets it before it reads the records.
  std::int32_t count = 0;

  /// Takes over an array of `number` records made with array new, in the place of what was held. Returns 1,
  /// or 0 for a null array or a number below 1.
  int addCoefficientsData(int number, CCoefficientDatazk* sets);

  /// Records that are there: never more than `count`.
  int numHeld() const { return std::clamp(count, 0, m_held); }

  /// Record `index`, owned by the manager. Throws CInvalidArgException outside 0 to `numHeld()` - 1.
  const CCoefficientDatazk& coefficients(int index) const;

 private:
  std::unique_ptr<CCoefficientDatazk[]> m_sets;
  int m_held = 0;
};

class MEGREADER_API CCoefficientManagerzk : public CCoefficientManager {};
