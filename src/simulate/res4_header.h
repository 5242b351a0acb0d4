#pragma once

#include "simulate/big_endian.h"
#include "simulate/options.h"

namespace ctfmeg::simulate {

// The resource file from its magic to the end of the filters.
BigEndianBuffer encodeRes4Header(const Options& options);

}  // namespace ctfmeg::simulate
