#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("run.res4", bytes, size, [](FuzzReader& reader) { reader.readRes4(fuzzBase()); });
}
