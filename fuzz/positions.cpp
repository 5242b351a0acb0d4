#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("run.pos", bytes, size, [](FuzzReader& reader) { reader.readPosFile(fuzzBase() + L"pos"); });
}
