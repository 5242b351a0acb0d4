#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/byte_order.h"
#include "ctf/text.h"

namespace ctfmeg {

// A layout is a function that calls a visitor once for each field, offset first. Two visitors serve all
// layouts: LayoutDecoder fills a record from bytes, LayoutProof shows at compile time that fields neither
// leave a gap nor overlap.

/// Fills `Record` from the bytes of a block whose first field lies at `origin`. A field that reaches past the
/// bytes makes the decoding incomplete; fields before it stay set.
template <class Record>
class LayoutDecoder {
 public:
  LayoutDecoder(Record& record, std::span<const std::byte> bytes, const ReadingRules& rules,
                std::size_t origin = 0)
      : m_record(record), m_bytes(bytes), m_rules(rules), m_origin(origin) {}

  bool complete() const { return m_complete; }

  void skip(std::size_t offset, std::size_t width) { holds(offset, width); }

  void text(std::size_t offset, std::size_t width, std::string Record::*member) {
    if (holds(offset, width))
      m_record.*member = decodeFixedText(m_bytes.subspan(offset - m_origin, width), m_rules);
  }
  void name(std::size_t offset, std::size_t width, std::string Record::*member) {
    if (holds(offset, width)) m_record.*member = decodeName(m_bytes, offset - m_origin, width, m_rules);
  }

  template <class... Members>
  void i16(std::size_t offset, Members... members) {
    number<std::int16_t>(offset, members...);
  }
  template <class... Members>
  void i32(std::size_t offset, Members... members) {
    number<std::int32_t>(offset, members...);
  }
  template <class... Members>
  void u32(std::size_t offset, Members... members) {
    number<std::uint32_t>(offset, members...);
  }
  template <class... Members>
  void f64(std::size_t offset, Members... members) {
    number<double>(offset, members...);
  }

  template <std::size_t N>
  void f64s(std::size_t offset, std::array<double, N> Record::*member) {
    eachF64(offset, m_record.*member);
  }

  /// Of `slots` texts as many leading ones as `m_record.*count` says, which a field before this one has set.
  void texts(std::size_t offset, std::size_t width, std::size_t slots,
             std::vector<std::string> Record::*member, std::int32_t Record::*count) {
    (m_record.*member).resize(used(slots, m_record.*count));
    for (std::string& text : m_record.*member) {
      if (holds(offset, width)) text = decodeFixedText(m_bytes.subspan(offset - m_origin, width), m_rules);
      offset += width;
    }
  }
  void f64s(std::size_t offset, std::size_t slots, std::vector<double> Record::*member,
            std::int32_t Record::*count) {
    (m_record.*member).resize(used(slots, m_record.*count));
    eachF64(offset, m_record.*member);
  }

  /// Nested records of `width` bytes, each with the layout `Layout`.
  template <auto Layout, class Element, std::size_t N>
  void records(std::size_t offset, std::size_t width, std::array<Element, N> Record::*member) {
    for (std::size_t i = 0; i < N; ++i) {
      if (!holds(offset + i * width, width)) return;
      LayoutDecoder<Element> element((m_record.*member)[i],
                                     m_bytes.subspan(offset + i * width - m_origin, width), m_rules);
      Layout(element);
    }
  }

 private:
  static std::size_t used(std::size_t slots, std::int32_t count) {
    return std::min(slots, static_cast<std::size_t>(std::max(count, 0)));
  }

  void eachF64(std::size_t offset, std::span<double> values) {
    for (double& value : values) {
      if (holds(offset, sizeof(double))) value = loadBigEndian<double>(m_bytes, offset - m_origin);
      offset += sizeof(double);
    }
  }

  bool holds(std::size_t offset, std::size_t width) {
    m_complete = m_complete && offset - m_origin + width <= m_bytes.size();
    return m_complete;
  }

  template <class T, class... Members>
  void number(std::size_t offset, Members... members) {
    if (!holds(offset, sizeof(T))) return;
    const T value = loadBigEndian<T>(m_bytes, offset - m_origin);
    ((m_record.*members = value), ...);
  }

  Record& m_record;
  std::span<const std::byte> m_bytes;
  const ReadingRules& m_rules;
  std::size_t m_origin;
  bool m_complete = true;
};

/// Follows a layout field by field. `end()` is the offset after its last field, 0 when a field does not
/// start where the one before it ends.
class LayoutProof {
 public:
  constexpr explicit LayoutProof(std::size_t origin = 0) : m_end(origin) {}

  constexpr std::size_t end() const { return m_seamless ? m_end : 0; }

  constexpr void skip(std::size_t offset, std::size_t width) { field(offset, width); }
  template <class Member>
  constexpr void text(std::size_t offset, std::size_t width, Member) {
    field(offset, width);
  }
  template <class Member>
  constexpr void name(std::size_t offset, std::size_t width, Member) {
    field(offset, width);
  }
  template <class... Members>
  constexpr void i16(std::size_t offset, Members...) {
    field(offset, 2);
  }
  template <class... Members>
  constexpr void i32(std::size_t offset, Members...) {
    field(offset, 4);
  }
  template <class... Members>
  constexpr void u32(std::size_t offset, Members...) {
    field(offset, 4);
  }
  template <class... Members>
  constexpr void f64(std::size_t offset, Members...) {
    field(offset, 8);
  }
  template <class Record, std::size_t N>
  constexpr void f64s(std::size_t offset, std::array<double, N> Record::*) {
    field(offset, 8 * N);
  }
  template <class Member, class Count>
  constexpr void f64s(std::size_t offset, std::size_t slots, Member, Count) {
    field(offset, 8 * slots);
  }
  template <class Member, class Count>
  constexpr void texts(std::size_t offset, std::size_t width, std::size_t slots, Member, Count) {
    field(offset, width * slots);
  }
  template <auto Layout, class Record, class Element, std::size_t N>
  constexpr void records(std::size_t offset, std::size_t width, std::array<Element, N> Record::*) {
    LayoutProof element;
    Layout(element);
    m_seamless = m_seamless && element.end() == width;
    field(offset, width * N);
  }

 private:
  constexpr void field(std::size_t offset, std::size_t width) {
    m_seamless = m_seamless && offset == m_end;
    m_end = offset + width;
  }

  std::size_t m_end;
  bool m_seamless = true;
};

}  // namespace ctfmeg
