#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "cli/shown.h"

namespace ctfmeg::cli {

/// An array of samples, as the file beside it describes it.
struct ArrayDescription {
  const std::string& dataset;  ///< as given
  const Recording& recording;
  const SampleSource& source;
  const SelectedSamples& selected;  ///< that it is made from
  std::string descr;                ///< NumPy's type, such as "<f8"
  Values values;
  bool isAverage;
  const std::vector<std::pair<std::string, std::string>>& asked;

  /// The array's extents.
  std::vector<std::int64_t> shape() const;
  std::string shapeText() const;  ///< "2 x 356 x 1201"
};

/// The description as JSON, with what the options allow to be shown.
std::string descriptionOf(const ArrayDescription& array, const ReadingOptions& options);

}  // namespace ctfmeg::cli
