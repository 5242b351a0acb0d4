#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

// The least that an export to float64 costs: reads the samples of one file, swaps them, divides each channel
// by its gain and writes the quotients, with one thread, in pieces that stay in the processor's own memory.
//   minimal_export GAINS SAMPLES IN.meg4 OUT
// GAINS: a file of doubles, one for each channel; SAMPLES: of each channel in a trial; OUT: no header, values
// only.

namespace {

constexpr std::size_t kHeader = 8;
constexpr std::size_t kPiece = 1 << 14;  // samples

#ifdef __x86_64__
__attribute__((target_clones("avx2", "default")))
#endif
void convert(const std::uint32_t* samples, std::size_t count, double gain, double* out) {
  for (std::size_t i = 0; i < count; ++i)
    out[i] = static_cast<std::int32_t>(__builtin_bswap32(samples[i])) / gain;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  std::vector<double> gains;
  std::ifstream file(argv[1], std::ios::binary);
  for (double gain = 0.0; file.read(reinterpret_cast<char*>(&gain), sizeof gain);)
    gains.push_back(gain);
  const auto samples = static_cast<std::size_t>(std::atoll(argv[2]));
  const int in = open(argv[3], O_RDONLY);
  const int out = open(argv[4], O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (gains.empty() || samples == 0 || in < 0 || out < 0 || lseek(in, kHeader, SEEK_SET) < 0) return 1;
  std::vector<std::uint32_t> read(kPiece);
  std::vector<double> values(kPiece);
  for (std::size_t channel = 0;; channel = (channel + 1) % gains.size())
    for (std::size_t done = 0; done < samples;) {
      const std::size_t wanted = std::min(kPiece, samples - done);
      const auto got = ::read(in, read.data(), wanted * sizeof read[0]);
      if (got == 0 && done == 0) return 0;
      if (got != static_cast<ssize_t>(wanted * sizeof read[0])) return 1;
      convert(read.data(), wanted, gains[channel], values.data());
      const auto bytes = static_cast<ssize_t>(wanted * sizeof values[0]);
      if (write(out, values.data(), wanted * sizeof values[0]) != bytes) return 1;
      done += wanted;
    }
}
