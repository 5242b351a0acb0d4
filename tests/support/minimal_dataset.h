#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/bytes.h"

/// The smallest dataset that has one of everything, its bytes put together by hand. Tests patch `res4` or
/// exchange sample files, then write it.
///
/// 2 channels (MLC11-2805, a gradiometer, and STIM), 2 trials of 3 samples at 600 Hz, 1 sample before the
/// trigger.
struct MinimalDataset {
  MinimalDataset();

  // Where blocks start in `res4`.
  static constexpr std::size_t kFilterCount = 1844 + 3;  // after the run description "hi" and a zero byte
  static constexpr std::size_t kSecondFilter = kFilterCount + 2 + 18;
  static constexpr std::size_t kNames = kSecondFilter + 18 + 16;  // the second filter has two parameters
  static constexpr std::size_t kSensors = kNames + 2 * 32;
  static constexpr std::size_t kCoefficientCount = kSensors + 2 * 1328;
  static constexpr std::size_t kCoefficients = kCoefficientCount + 2;

  Bytes res4;
  std::vector<std::string>
      sampleFiles;  ///< run.meg4, run.1_meg4, ...: whole content; an empty one but the first is not written

  /// Value of a sample: 1000 x trial + 100 x channel + sample.
  static std::int32_t value(int trial, int channel, int sample) {
    return 1000 * trial + 100 * channel + sample;
  }

  /// Sets the counts in the header and the names and sensors that go with them, and all trials in one sample
  /// file.
  void resize(int trials, int channels, int samples);

  /// One trial's bytes as they are in a sample file.
  static std::string trial(int trial, int channels, int samples);
  static std::string sampleFile(const std::vector<std::string>& trials);

  /// Writes run.ds below `parent`; returns the path of its resource file.
  std::filesystem::path write(const std::filesystem::path& parent) const;
};
