#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/ctfmeg.h>

// A selection as callers in C and Python give it: a view, its
// description and its samples, and events.

namespace {

/// The smallest dataset, open for as long as the process lives.
ctfmeg_recording* recording() {
  static const TemporaryDirectory directory;
  static ctfmeg_recording* const kOpen = [] {
    const auto path = MinimalDataset().write(directory.path()).parent_path();
    ctfmeg_recording* opened = nullptr;
    ctfmeg_open_options alone{};
    alone.size = sizeof alone;
    alone.threads = 1;
    return ctfmeg_open(path.string().c_str(), &alone, &opened, nullptr) == CTFMEG_OK ? opened : nullptr;
  }();
  return kOpen;
}

void read(ctfmeg_view* view) {
  constexpr std::int64_t kMostValues = 1 << 16;
  std::int64_t shape[3] = {};
  char* json = nullptr;
  if (ctfmeg_describe(view, &json, nullptr) == CTFMEG_OK) ctfmeg_free(json);
  if (ctfmeg_shape(view, shape, nullptr) != CTFMEG_OK) __builtin_trap();
  if (shape[0] * shape[1] * shape[2] > kMostValues) return;
  std::vector<double> values(static_cast<std::size_t>(shape[0] * shape[1] * shape[2]));
  if (ctfmeg_read(view, nullptr, CTFMEG_FLOAT64, CTFMEG_PHYSICAL, values.data(),
                  values.size() * sizeof(double), nullptr, nullptr, nullptr) != CTFMEG_OK)
    __builtin_trap();  // all of what can be selected can be read
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (recording() == nullptr) __builtin_trap();
  const std::string selection(data, data + size);
  ctfmeg_view* view = nullptr;
  ctfmeg_error error{};
  if (ctfmeg_select(recording(), selection.c_str(), nullptr, nullptr, &view, &error) == CTFMEG_OK) {
    read(view);
    ctfmeg_view_close(view, nullptr);
  } else if (error.text == nullptr || *error.text == 0) {
    __builtin_trap();
  }
  ctfmeg_error_clear(&error);
  ctfmeg_event* events = nullptr;
  std::int64_t count = 0;
  if (ctfmeg_events(recording(), selection.c_str(), nullptr, nullptr, &events, &count, nullptr) == CTFMEG_OK)
    ctfmeg_free(events);
  return 0;
}
