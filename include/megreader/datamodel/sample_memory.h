#pragma once

#include <cstdint>

#include <megreader/framework/cstring.h>

/// Where the samples of an import live.
struct SampleMemory {
  /// Bytes of samples that are kept in memory. More live in a temporary file without a name, which only this
  /// process can open and which is gone with it, however it ends: reading is slower then. 0: half of the
  /// memory that the machine, or the process's control group, grants.
  std::uint64_t limit = 0;

  /// The folder for that file, in Windows form; empty: the system's for large temporary files.
  CString spillDirectory;
};
