#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulate/options.h"

namespace ctfmeg::simulate {

/// Where a dataset is that was just written.
struct Written {
  std::filesystem::path directory;
  std::filesystem::path stem;  // of its files, without the dot and the extension
  const Options& options;
};

/// One way in which datasets are found broken.
struct Damage {
  std::string_view name;
  std::string_view file;  // what it is done to: of one file no two are possible
  std::string_view what;
  /// Gets the path of `file`; one that begins with a dot is an extension of the stem. Throws
  /// std::filesystem::filesystem_error.
  void (*apply)(const Written& dataset, const std::filesystem::path& file);
  int leastSampleFiles = 1;
};

std::span<const Damage> damages();

/// Throws std::invalid_argument for a name that is none, for two of one file, and where a dataset of these
/// options has not what is to be damaged.
void validateDamage(const Options& options);

void applyDamage(const Written& dataset);

}  // namespace ctfmeg::simulate
