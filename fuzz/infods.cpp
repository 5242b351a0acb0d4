#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("run.infods", bytes, size,
                [](FuzzReader& reader) { reader.readInfoDsFile(fuzzBase() + L"infods"); });
}
