#pragma once

#include <vector>

#include <megreader/framework/cstring.h>

/// A channel that is a weighted sum of others.
struct VirtualChannel {
  /// One of the channels it is made of.
  struct Reference {
    CString channel;
    double weight = 0.0;
  };

  CString name;
  CString unit;
  std::vector<Reference> references;
};
