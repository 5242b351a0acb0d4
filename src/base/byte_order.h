#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace ctfmeg {

static_assert(std::endian::native == std::endian::little, "hosts are little-endian; files are big-endian");

/// Reverses the bytes of a value in place. Works on the raw bytes, so every bit pattern survives, NaNs
/// included.
template <class T>
void reverseBytes(T& value) {
  std::array<std::byte, sizeof(T)> bytes;
  std::memcpy(bytes.data(), &value, sizeof(T));
  std::reverse(bytes.begin(), bytes.end());
  std::memcpy(&value, bytes.data(), sizeof(T));
}

/// The big-endian number at `offset` of `bytes`, which must hold it whole.
template <class T>
T loadBigEndian(std::span<const std::byte> bytes, std::size_t offset) {
  const auto field = bytes.subspan(offset, sizeof(T));
  T value;
  std::memcpy(&value, field.data(), sizeof(T));
  reverseBytes(value);
  return value;
}

/// Big-endian 32-bit samples to host order, in place, with the widest instructions that this machine has.
void samplesToHostOrder(std::span<std::int32_t> samples);

/// What `samplesToHostOrder` does, with the instructions that every machine has.
void samplesToHostOrderPlainly(std::span<std::int32_t> samples);

}  // namespace ctfmeg
