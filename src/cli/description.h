#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/commands.h"

namespace ctfmeg::cli {

/// An array of samples, as the file beside it describes it.
struct ArrayDescription {
  const std::string& dataset;  ///< as given
  const Recording& recording;
  const SampleSource& source;
  std::string descr;  ///< NumPy's type, such as "<f8"
  Values values;
  bool isRun;  ///< channels x samples
  const std::vector<std::pair<std::string, std::string>>& asked;

  /// The array's extents.
  std::vector<std::int64_t> shape() const;
  std::string shapeText() const;  ///< "2 x 356 x 1201"
};

/// The description as JSON, with what the options allow to be shown.
std::string describe(const ArrayDescription& array, const ReadingOptions& options);

}  // namespace ctfmeg::cli
