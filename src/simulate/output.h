#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ctfmeg::simulate {

/// Writes an integer at `out`, most significant byte first, and returns the place after it.
template <typename Integer>
char* putBigEndian(Integer value, char* out) {
  const auto bits = static_cast<std::make_unsigned_t<Integer>>(value);
  for (int shift = 8 * (static_cast<int>(sizeof(Integer)) - 1); shift >= 0; shift -= 8)
    *out++ = static_cast<char>(static_cast<unsigned char>(bits >> shift));
  return out;
}

/// Bytes that grow at their end by the fields of a file.
class BigEndianBuffer {
 public:
  void byte(std::uint8_t value) { integer(value); }
  void int16(std::int16_t value) { integer(value); }
  void int32(std::int32_t value) { integer(value); }
  void float64(double value) { integer(std::bit_cast<std::uint64_t>(value)); }
  void zeros(std::size_t count) { m_bytes.resize(m_bytes.size() + count); }
  void characters(std::string_view text) { m_bytes.insert(m_bytes.end(), text.begin(), text.end()); }

  /// A field of `width` bytes, filled up with zeros; longer text is cut so that one zero remains.
  void text(std::string_view text, std::size_t width) {
    const std::string_view kept = text.substr(0, width - 1);
    characters(kept);
    zeros(width - kept.size());
  }

  std::span<const char> bytes() const { return m_bytes; }

 private:
  template <typename Integer>
  void integer(Integer value) {
    zeros(sizeof(Integer));
    putBigEndian(value, m_bytes.data() + m_bytes.size() - sizeof(Integer));
  }

  std::vector<char> m_bytes;
};

/// A new file of which every write and the closing are checked, so that a full disk is noticed. All
/// operations throw std::filesystem::filesystem_error with the path and the system's reason.
class OutputFile {
 public:
  OutputFile(std::filesystem::path stem, std::string_view suffix);

  void write(std::span<const char> bytes);

  /// What the stream still buffers is written only now; a file that is not closed counts as failed.
  void close();

 private:
  void check(const char* action) const;

  std::filesystem::path m_path;
  std::ofstream m_stream;
};

}  // namespace ctfmeg::simulate
