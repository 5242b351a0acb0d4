#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

/// Big-endian bytes for hand-made files, put one after another or at a place.
class Bytes {
 public:
  Bytes& i16(int value) { return number(static_cast<std::uint16_t>(value)); }
  Bytes& i32(std::int64_t value) { return number(static_cast<std::uint32_t>(value)); }
  Bytes& f64(double value) { return number(std::bit_cast<std::uint64_t>(value)); }
  Bytes& zeros(std::size_t count) { return raw(std::string(count, '\0')); }
  Bytes& raw(std::string_view bytes) {
    m_bytes += bytes;
    return *this;
  }
  /// `text` and then zero bytes up to `width`.
  Bytes& text(std::string_view text, std::size_t width) { return raw(text).zeros(width - text.size()); }

  /// Overwrites what is at `offset`.
  Bytes& put(std::size_t offset, const Bytes& other) {
    m_bytes.replace(offset, other.m_bytes.size(), other.m_bytes);
    return *this;
  }

  std::size_t size() const { return m_bytes.size(); }
  const std::string& str() const { return m_bytes; }

 private:
  template <class T>
  Bytes& number(T value) {
    for (int shift = 8 * (static_cast<int>(sizeof(T)) - 1); shift >= 0; shift -= 8)
      m_bytes += static_cast<char>((value >> shift) & 0xFF);
    return *this;
  }

  std::string m_bytes;
};
