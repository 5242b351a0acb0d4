#pragma once

#include "base/finding_codes.h"

namespace ctfmeg {

/// Takes what readers notice about files. Whoever calls a reader supplies one.
class Notices {
 public:
  Notices() = default;
  Notices(const Notices&) = delete;
  Notices& operator=(const Notices&) = delete;
  virtual ~Notices() = default;
  virtual void report(const Finding& finding) = 0;
};

}  // namespace ctfmeg
