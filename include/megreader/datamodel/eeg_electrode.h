#pragma once

#include <cstdint>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// One EEG electrode of a dataset.
class MEGREADER_API CEEGelectrodezk {
 public:
  std::int32_t number = 0;
  CString name;
  double x = 0.0, y = 0.0, z = 0.0;  ///< as in the file: CTF head axes, centimetres
};
