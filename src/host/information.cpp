#include "host/information.h"

#include <algorithm>

namespace ctfmeg {
inline namespace v1 {

const InformationEntry* Information::find(const std::string& tag) const {
  const auto last = std::find_if(entries.rbegin(), entries.rend(),
                                 [&](const InformationEntry& entry) { return entry.tag == tag; });
  return last == entries.rend() ? nullptr : &*last;
}

bool canIdentify(const InformationEntry& entry) {
  // Texts are free: sites write names, dates and paths into any of them.
  return !entry.tag.starts_with("_DATASET_") || std::holds_alternative<std::string>(entry.value);
}

}  // namespace v1
}  // namespace ctfmeg
