#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("run.hc", bytes, size, [](FuzzReader& reader) {
    reader.readHeadCoilsToDataset(fuzzBase());
    reader.readHeadCoilsToLocalization(fuzzBase());
  });
}
