#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ctfmeg::output {

/// The header of a NumPy file, format 1.0: values in C order follow. `type` is NumPy's, such as "<i4"; a
/// shape has two extents or more.
std::string npyHeader(const std::string& type, const std::vector<std::int64_t>& shape);

}  // namespace ctfmeg::output
