#pragma once

#include <string>

#include "base/file.h"

#include <ctfmeg/ctfmeg.h>

namespace ctfmeg::capi {

/// The files of a dataset by callbacks of C.
class CallbackStore : public Store {
 public:
  explicit CallbackStore(const ctfmeg_store& store);
  ~CallbackStore() override;

  std::vector<std::string> list() const override;
  OpenFile open(const std::string& name) const override;
  std::string pathOf(const std::string& name) const override { return m_path + "/" + name; }
  bool waits() const override { return true; }

  /// The name that the dataset's files have in common: the directory's, else that of the only resource file.
  /// Throws `Error` where there is none, or several, and Misuse for a store without its functions.
  std::string stem() const;

 private:
  class CallbackFile;

  ctfmeg_store m_store;
  std::string m_path;  ///< without a slash at its end
};

}  // namespace ctfmeg::capi
