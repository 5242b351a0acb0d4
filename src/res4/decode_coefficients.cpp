#include "res4/decode.h"
#include "res4/res4_layout.h"

bool decodeCoefficients(std::span<const std::byte> record, const ReadingRules& rules,
                        CCoefficientDatazk& coefficients) {
  LayoutDecoder decoder(coefficients, record, rules);
  coefficientLayout(decoder);
  return coefficients.numReferences <= static_cast<std::int32_t>(CCoefficientDatazk::kReferenceSlots);
}
