#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("VirtualChannels", bytes, size,
                [](FuzzReader& reader) { reader.readVirtualChannels(fuzzBase()); });
}
