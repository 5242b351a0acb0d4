#include <algorithm>
#include <iterator>

#include "ctf/information_file.h"

#include <ctfmeg/information.h>

namespace ctfmeg {

bool isOfTheMachine(std::string_view tag) {
  static constexpr const char* kTagsOfTheMachine[] = {"_DATASET_VERSION",
                                                      "_DATASET_NOMINALHCPOSITIONS",
                                                      "_DATASET_LOWERBANDWIDTH",
                                                      "_DATASET_UPPERBANDWIDTH",
                                                      "_DATASET_ISINDB",
                                                      "_DATASET_HZ_MODE",
                                                      "_DATASET_MOTIONTOLERANCE",
                                                      "_DATASET_MAXHEADMOTION",
                                                      "_DATASET_MAXHEADMOTIONTRIAL",
                                                      "_DATASET_FITERRORTOLERANCE",
                                                      "_DATASET_CROSSTALKENABLED"};
  return std::find(std::begin(kTagsOfTheMachine), std::end(kTagsOfTheMachine), tag) !=
         std::end(kTagsOfTheMachine);
}

inline namespace v1 {

const InformationEntry* Information::find(const std::string& tag) const& {
  const auto last = std::find_if(entries.rbegin(), entries.rend(),
                                 [&](const InformationEntry& entry) { return entry.tag == tag; });
  return last == entries.rend() ? nullptr : &*last;
}

bool canIdentify(const InformationEntry& entry) {
  // Texts are free: sites write names, dates and paths into any of them, and tags that are not the system's
  // own may be anything.
  return !isOfTheMachine(entry.tag) || std::holds_alternative<std::string>(entry.value);
}

}  // namespace v1
}  // namespace ctfmeg
