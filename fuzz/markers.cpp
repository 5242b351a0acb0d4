#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("MarkerFile.mrk", bytes, size, [](FuzzReader& reader) { reader.readMarkers(fuzzBase()); });
}
