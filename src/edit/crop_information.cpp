#include <algorithm>
#include <span>

#include "base/byte_order.h"
#include "ctf/information_file.h"
#include "edit/cropping.h"
#include "edit/information_tree.h"

namespace ctfmeg::edit {
namespace {

constexpr std::string_view kMotionTrial = "_DATASET_MAXHEADMOTIONTRIAL", kMotion = "_DATASET_MAXHEADMOTION",
                           kMotionCoil = "_DATASET_MAXHEADMOTIONCOIL";

template <class Number>
std::optional<std::int64_t> loaded(const InfoNode& entry) {
  if (entry.value.size() != sizeof(Number)) return std::nullopt;
  return loadBigEndian<Number>(std::as_bytes(std::span(entry.value)), 0);
}

/// Nothing for a value that is no whole number.
std::optional<std::int64_t> wholeNumberOf(const InfoNode& entry) {
  switch (static_cast<InfoType>(entry.type)) {
    case InfoType::int16:
      return loaded<std::int16_t>(entry);
    case InfoType::uint16:
      return loaded<std::uint16_t>(entry);
    case InfoType::int32:
    case InfoType::signed32:
    case InfoType::alsoSigned32:
    case InfoType::unsigned32:
    case InfoType::alsoUnsigned32:
      return loaded<std::int32_t>(entry);
    default:
      return std::nullopt;
  }
}

/// Puts a number that is no larger than the one before.
void putWholeNumber(InfoNode& entry, std::int64_t number) {
  for (auto byte = entry.value.rbegin(); byte != entry.value.rend(); ++byte, number >>= 8)
    *byte = static_cast<char>(number & 0xFF);
}

void cropBlock(InfoNode& block, const KeptPart& kept, Edited& cropped) {
  bool isGone = false;
  for (InfoNode& entry : block.entries) {
    if (entry.isBlock()) cropBlock(entry, kept, cropped);
    if (entry.tag() != kMotionTrial) continue;
    const auto number = wholeNumberOf(entry);
    const auto trial = number ? kept.trialOf(static_cast<std::int32_t>(*number)) : std::nullopt;
    isGone = isGone || !trial;
    if (!trial || *trial == *number) continue;
    putWholeNumber(entry, *trial);
    cropped.note(Change::What::replaced, std::string(kMotionTrial));
  }
  if (!isGone) return;
  std::erase_if(block.entries, [&](const InfoNode& entry) {
    const bool goes = entry.tag() == kMotionTrial || entry.tag() == kMotion || entry.tag() == kMotionCoil;
    if (goes) cropped.note(Change::What::removed, std::string(entry.tag()));
    return goes;
  });
}

}  // namespace

Edited cropInformation(std::string_view bytes, const KeptPart& kept) {
  if (kept.hasAllTrials()) return Edited{std::string(bytes)};
  InfoTree tree = readInfoTree(bytes);
  Edited cropped;
  cropBlock(tree.root, kept, cropped);
  cropped.bytes = bytesOf(tree);
  return cropped;
}

}  // namespace ctfmeg::edit
