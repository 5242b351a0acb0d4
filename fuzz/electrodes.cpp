#include "fuzz/fixture.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  return asFile("run.eeg", bytes, size, [](FuzzReader& reader) { reader.readEegFile(fuzzBase() + L"eeg"); });
}
