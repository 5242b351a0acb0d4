#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("ClassFile.cls", bytes, size, [](FuzzReader& reader) { reader.readClassFile(fuzzBase()); });
}
