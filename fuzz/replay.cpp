// Replaces the fuzzer's own main: reads every file of a folder once.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>

#include "support/temporary_directory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int /*argc*/, char** argv) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    const std::string bytes = readFile(entry.path());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++inputs;
  }
  std::printf("%d inputs\n", inputs);
  return inputs == 0;
}
