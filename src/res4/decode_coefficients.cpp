#include "res4/decode.h"
#include "res4/res4_layout.h"

bool decodeCoefficients(std::span<const std::byte> block, std::size_t index, const ReadingRules& rules,
                        CCoefficientDatazk& coefficients) {
  // The layout sees all bytes from its record on: a name without a zero byte may run past the record.
  LayoutDecoder decoder(coefficients, block.subspan(index * kCoefficientRecordSize), rules);
  coefficientLayout(decoder);
  return coefficients.numReferences <= static_cast<std::int32_t>(CCoefficientDatazk::kReferenceSlots);
}
