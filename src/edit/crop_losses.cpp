#include <algorithm>
#include <set>

#include "base/finding_codes.h"
#include "base/nearest.h"
#include "edit/cropping.h"
#include "recording/compensation.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {
namespace {

/// What a gradient compensation that the samples carry needs, and the copy does not have.
std::optional<Finding> lostReferences(const Recording& recording, const KeptPart& kept) {
  const Coefficients coefficients(recording.channels(), recording.coefficients());
  std::set<int> lost;  // places among the channels
  for (const Channel& sensor : recording.channels()) {
    const bool isCompensated = sensor.gradientOrder > 0 && sensor.gradientOrder <= kHighestOrder;
    if (!isMeg(sensor) || !isCompensated || !kept.isKept(sensor)) continue;
    const CoefficientRecord* record = coefficients.find(sensor, sensor.gradientOrder);
    if (record == nullptr) continue;
    for (const Coefficient& coefficient : record->references)
      if (const Channel* reference = coefficients.reference(coefficient.reference);
          reference != nullptr && !kept.isKept(*reference))
        lost.insert(reference->index);
  }
  if (lost.empty()) return std::nullopt;
  constexpr std::size_t kMostNamed = 5;
  std::vector<std::string> names;
  for (const int place : lost)
    if (names.size() < kMostNamed)
      names.push_back(recording.channels()[static_cast<std::size_t>(place)].name);
  if (lost.size() > names.size()) names.push_back(std::to_string(lost.size() - names.size()) + " more");
  return Finding{.severity = Finding::Severity::warning,
                 .code = wordOf(Code::cropReferences),
                 .file = textOf(recording.resourceFile()),
                 .text =
                     "loses references that the gradient compensation of its channels needs, so that it "
                     "can't be undone: " +
                     listText(names)};
}

/// What goes from the copy because a channel that it refers to is gone.
std::optional<Finding> goneWithReferences(const Recording& recording, const KeptPart& kept) {
  const auto coefficients = std::count_if(
      recording.coefficients().begin(), recording.coefficients().end(), [&](const CoefficientRecord& record) {
        return kept.isOfUse(record.sensor) &&
               std::any_of(record.references.begin(), record.references.end(),
                           [&](const Coefficient& one) { return kept.isGone(one.reference); });
      });
  const auto channels = std::count_if(
      recording.virtualChannels().begin(), recording.virtualChannels().end(),
      [&](const VirtualChannel& channel) {
        return std::any_of(channel.references.begin(), channel.references.end(),
                           [&](const VirtualChannel::Reference& one) { return kept.isGone(one.channel); });
      });
  std::vector<std::string> gone;
  const auto add = [&](std::ptrdiff_t count, const char* what) {
    if (count > 0) gone.push_back(std::to_string(count) + what + (count == 1 ? "" : "s"));
  };
  add(coefficients, " coefficient record");
  add(channels, " virtual channel");
  if (gone.empty()) return std::nullopt;
  return Finding{.severity = Finding::Severity::remark,
                 .code = wordOf(Code::cropReferences),
                 .file = textOf(recording.resourceFile()),
                 .text = "loses " + listText(gone) + " made with channels that the copy does not have"};
}

}  // namespace

std::vector<Finding> lossesOf(const Recording& recording, const KeptPart& kept) {
  std::vector<Finding> losses;
  for (auto finding : {lostReferences(recording, kept), goneWithReferences(recording, kept)})
    if (finding) losses.push_back(*std::move(finding));
  return losses;
}

}  // namespace ctfmeg::edit
