#include <algorithm>

#include "res4/decode.h"
#include "res4/res4_layout.h"

namespace {

constexpr std::size_t kTriggerFormatEnd = 1342;

/// False for a format that nobody knows.
bool storeTriggers(std::span<const std::byte> block, CMEGRecordInfozkProzk& info) {
  const auto at = [block](std::size_t index) { return std::to_integer<std::uint32_t>(block[index]); };
  switch (info.triggerFormat) {
    case 0:  // primary trigger, 8 secondary triggers, polarity mask
      info.triggerCodes[0] = at(0);
      info.triggerCodes[1] = at(9);
      for (std::size_t i = 1; i <= 8; ++i)
        info.triggerCodes[i + 1] = at(i);
      return true;
    case 1:
      info.triggerCodes[0] = loadBigEndian<std::uint32_t>(block, 0);
      info.triggerCodes[1] = loadBigEndian<std::uint32_t>(block, 4);
      return true;
    default:
      return false;
  }
}

}  // namespace

GeneralHeaderResult decodeGeneralHeader(std::span<const std::byte> block, const ReadingRules& rules,
                                        CMEGRecordInfozkProzk& info) {
  LayoutDecoder decoder(info, block, rules, kGeneralHeaderStart);
  generalHeaderLayout(decoder);
  GeneralHeaderResult result;
  result.complete = decoder.complete();
  if (kGeneralHeaderStart + block.size() >= kTriggerFormatEnd)
    result.triggerFormatUnknown =
        !storeTriggers(block.subspan(kTriggerBlockOffset - kGeneralHeaderStart, kTriggerBlockSize), info);
  return result;
}

std::unique_ptr<FilterInfo> decodeFilter(std::span<const std::byte> record, const ReadingRules& rules) {
  auto filter = std::make_unique<FilterInfo>();
  LayoutDecoder decoder(*filter, record, rules);
  filterLayout(decoder);
  return filter;
}

void decodeFilterParameters(std::span<const std::byte> block, const ReadingRules& rules, FilterInfo& filter) {
  const auto count = static_cast<std::size_t>(std::max(filter.numParams, 0));
  if (count == 0) return;
  filter.params = std::make_unique<double[]>(count);
  for (std::size_t i = 0; i < count; ++i) {
    double& parameter = filter.params[i];
    std::memcpy(&parameter, block.subspan(i * sizeof(double), sizeof(double)).data(), sizeof(double));
    if (rules.filterParametersSwapped) reverseBytes(parameter);
  }
}
