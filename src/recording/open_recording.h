#pragma once

#include <memory>
#include <string>

#include "base/file.h"

#include <ctfmeg/recording.h>

namespace ctfmeg {
inline namespace v1 {

/// Opens the dataset called `stem`, wherever `store` has its files. Throws `Error`.
Recording openRecording(std::shared_ptr<const Store> store, const std::string& stem,
                        const OpenOptions& options = {});

}  // namespace v1
}  // namespace ctfmeg
