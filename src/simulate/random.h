#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace ctfmeg::simulate {

/// xoshiro256++ (Blackman and Vigna 2021, ACM Trans. Math. Softw. 47:36) started by splitmix64. The standard
/// library's distributions differ between systems; this makes the same numbers everywhere, without libm.
class Random {
 public:
  explicit Random(std::uint64_t seed) {
    for (std::uint64_t& word : m_state)
      word = splitmix(seed);
  }

  std::uint64_t next() {
    const std::uint64_t result = std::rotl(m_state[0] + m_state[3], 23) + m_state[0];
    const std::uint64_t shifted = m_state[1] << 17;
    m_state[2] ^= m_state[0];
    m_state[3] ^= m_state[1];
    m_state[1] ^= m_state[2];
    m_state[0] ^= m_state[3];
    m_state[2] ^= shifted;
    m_state[3] = std::rotl(m_state[3], 45);
    return result;
  }

  /// Evenly distributed in [0, 1).
  double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }

  /// Evenly distributed in [-1, 1).
  double symmetric() { return 2 * uniform() - 1; }

  bool coin() { return next() >> 63 != 0; }

  /// Normal deviate, mean 0 and variance 1, in good approximation up to 5 standard deviations: the number of
  /// ones among 64 fair bits (binomial, variance 16), its steps smoothed by the sum of two even deviates of
  /// unit width (variance 1/6).
  double normal() {
    const int ones = std::popcount(next());
    const std::uint64_t dither = next();
    const double even1 = static_cast<double>(static_cast<std::uint32_t>(dither)) * 0x1p-32;
    const double even2 = static_cast<double>(static_cast<std::uint32_t>(dither >> 32)) * 0x1p-32;
    constexpr double kOneOverDeviation = 0.24870800168690346;  // 1 / sqrt(16 + 1/6)
    return (ones - 32 + even1 + even2 - 1) * kOneOverDeviation;
  }

 private:
  static std::uint64_t splitmix(std::uint64_t& state) {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }

  std::array<std::uint64_t, 4> m_state;
};

}  // namespace ctfmeg::simulate
