#pragma once

#include <utility>

#include "cli/commands.h"
#include "describe/shown.h"

namespace ctfmeg::cli {

using describe::lastName;
using describe::SelectedSamples;
using describe::ShownDataset;

/// `value` as the options allow it to be shown.
template <class T>
T shown(T value, const ReadingOptions& options) {
  return options.noIdentity ? describe::redacted(std::move(value)) : value;
}

}  // namespace ctfmeg::cli
