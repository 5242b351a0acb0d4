#pragma once

#include <vector>

#include <ctfmeg/recording.h>

namespace ctfmeg {
inline namespace v1 {

/// What is odd in what a dataset says, beyond what was noticed when it was opened (`Recording::warnings`):
/// markers, classes and bad segments outside the run, names of no channel or of two, text beyond
/// ASCII, numbers that can't be. Texts quote names of channels, markers and classes and nothing else that the
/// dataset holds.
CTFMEG_API std::vector<Finding> inspect(const Recording& recording);

}  // namespace v1
}  // namespace ctfmeg
