// Replaces the fuzzer's own main: reads every file that is named, or that is in a folder that is
// named, once.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i]))
      inputs.emplace_back(argv[i]);
    else
      for (const auto& entry : fs::directory_iterator(argv[i]))
        inputs.push_back(entry.path());
  }
  for (const fs::path& input : inputs) {
    std::ifstream file(input, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    if (!file) {
      std::fprintf(stderr, "%s can't be read\n", input.c_str());
      return 1;
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs\n", inputs.size());
  return inputs.empty() ? 1 : 0;
}
