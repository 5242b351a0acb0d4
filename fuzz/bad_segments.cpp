#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("bad.segments", bytes, size, [](FuzzReader& reader) { reader.readBadSegments(fuzzBase()); });
}
