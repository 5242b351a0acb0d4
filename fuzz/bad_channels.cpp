#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("BadChannels", bytes, size, [](FuzzReader& reader) { reader.readBadChannels(fuzzBase()); });
}
