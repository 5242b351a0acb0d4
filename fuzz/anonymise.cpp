#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "edit/anonymous.h"

// Files beside the resource file, made anonymous: salt that is in them may be in the copy only within names,
// which stay.

namespace {

using namespace ctfmeg;
using namespace ctfmeg::edit;

constexpr std::string_view kSalt = "Salzkornwort";

constexpr std::array<AnonymousFile*, 9> kKinds{
    &anonymousInformation, &anonymousMarkers,     &anonymousClasses,
    &anonymousHeadCoils,   &anonymousElectrodes,  &anonymousPositions,
    &anonymousBadChannels, &anonymousBadSegments, &anonymousVirtualChannels};

std::string without(std::string text, std::string_view part) {
  for (std::size_t at = 0; !part.empty() && (at = text.find(part, at)) != std::string::npos;)
    text.erase(at, part.size());
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  Anonymising how;
  how.dates = static_cast<Dates>(data[0] / kKinds.size() % 3);
  how.shiftDays = 100;
  if (data[0] % 2 == 0) how.subject = "S1";
  Anonymous anonymous{how, how.subject, "new.ds", {"MLC11", "MLC11-2805"}};
  AnonymousFile* const make = kKinds[data[0] % kKinds.size()];
  const std::string text(data + 1, data + size);
  const auto edited = make(text, anonymous);
  if (!edited) return 0;
  std::string rest = edited->bytes;
  std::sort(anonymous.names.begin(), anonymous.names.end(),
            [](const KeptName& a, const KeptName& b) { return a.name.size() > b.name.size(); });
  for (const KeptName& kept : anonymous.names)
    if (kept.name.find(kSalt) != std::string::npos) rest = without(rest, kept.name);
  if (rest.find(kSalt) != std::string::npos) __builtin_trap();
  for (const Change& change : edited->changes)
    if (change.field.find(kSalt) != std::string::npos) __builtin_trap();
  for (const Finding& warning : anonymous.warnings)
    if (warning.text.find(kSalt) != std::string::npos) __builtin_trap();
  return 0;
}
