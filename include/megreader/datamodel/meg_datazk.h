#pragma once

#include <megreader/datamodel/meg_data_file.h>

/// The data object of one dataset.
class MEGREADER_API CMEGDatazk : public CMEGData9FileA01CtfMISL {
 public:
  CMEGDatazk() = default;
  CMEGDatazk(const CMEGDatazk&) = default;
  CMEGDatazk& operator=(const CMEGDatazk&) = default;
  ~CMEGDatazk() override;
};
