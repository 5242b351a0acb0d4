#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include <ctfmeg/export.h>

// What a dataset says about patient, procedure and itself, and the channels it makes of others. Texts are
// UTF-8.

namespace ctfmeg {
inline namespace v1 {

/// A tag of the information file, such as "_PATIENT_ID", with its value.
struct InformationEntry {
  std::string tag;
  std::variant<std::string, double, std::int64_t> value;
};

/// What the information file says.
struct Information {
  std::vector<InformationEntry> entries;  ///< tags that were set, in file order
  std::string text;  ///< values as text, without tags: those of the last block, and unknown ones after it

  /// The last value of a tag; null when it was not set.
  CTFMEG_API const InformationEntry* find(const std::string& tag) const&;
  const InformationEntry* find(const std::string& tag) const&& = delete;
};

/// Whether the value of that tag can name a person.
CTFMEG_API bool canIdentify(const InformationEntry& entry);

/// A channel that is a weighted sum of others.
struct VirtualChannel {
  /// One of the channels it is made of.
  struct Reference {
    std::string channel;
    double weight = 0.0;
  };

  std::string name;
  std::string unit;
  std::vector<Reference> references;
};

}  // namespace v1
}  // namespace ctfmeg
