#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a dataset says about the head: where it was and what was on it. Texts are UTF-8.

namespace ctfmeg {
inline namespace v1 {

/// Head-localisation coils in one frame, in millimetres: x right, y front, z up for the head; CTF axes turned
/// by (x, y, z) -> (-y, x, z) for the dewar too. A point that was not read is not there.
struct FiducialSet {
  using Point = std::optional<std::array<double, 3>>;
  Point nasionMm, leftEarMm, rightEarMm, inionMm, czMm;
  std::int32_t numPoints = 0;  ///< as the reader counts them
};

/// A point's name, such as "leftEar", with its place in a set, in the order of the file.
struct FiducialName {
  const char* name;
  FiducialSet::Point FiducialSet::*point;
};
inline constexpr std::array<FiducialName, 5> kFiducialNames{{{"nasion", &FiducialSet::nasionMm},
                                                             {"leftEar", &FiducialSet::leftEarMm},
                                                             {"rightEar", &FiducialSet::rightEarMm},
                                                             {"inion", &FiducialSet::inionMm},
                                                             {"cz", &FiducialSet::czMm}}};

/// Sets that were not read are not there.
struct Fiducials {
  std::optional<FiducialSet> dewarStandard;  ///< in the dewar, as the system assumes them
  std::optional<FiducialSet> dewarMeasured;  ///< in the dewar, as measured
  std::optional<FiducialSet> headMeasured;   ///< in the head frame, as measured

  /// Rows of the matrix that carries a dewar position (x, y, z, 1) in millimetres to the head frame that
  /// nasion and ears of `dewarMeasured` define: origin midway between the ears, y through the nasion, z up,
  /// perpendicular to their plane. Nothing when they define none.
  std::optional<std::array<std::array<double, 4>, 4>> dewarToHead;
};

/// A set's name, such as "dewarMeasured", with its place.
struct FiducialSetName {
  const char* name;
  std::optional<FiducialSet> Fiducials::*set;
};
inline constexpr std::array<FiducialSetName, 3> kFiducialSetNames{
    {{"dewarStandard", &Fiducials::dewarStandard},
     {"dewarMeasured", &Fiducials::dewarMeasured},
     {"headMeasured", &Fiducials::headMeasured}}};

/// An EEG electrode: CTF head axes (x to the nose, y left, z up), centimetres, as in the file.
struct Electrode {
  std::int32_t number = 0;
  std::string name;
  std::array<double, 3> positionCm{};
};

/// A position that was digitised on the head, in the axes and the unit of electrodes.
struct DigitisedPoint {
  std::int32_t number = 0;
  std::array<double, 3> positionCm{};
};

/// A fiducial among the digitised positions, by its label in the file, in the axes and the unit of
/// electrodes.
struct DigitisedFiducial {
  std::string label;
  std::array<double, 3> positionCm{};
};

/// All that was digitised on the head.
struct Digitised {
  std::vector<DigitisedPoint> points;
  std::vector<DigitisedFiducial> fiducials;  ///< empty under host rules
};

}  // namespace v1
}  // namespace ctfmeg
