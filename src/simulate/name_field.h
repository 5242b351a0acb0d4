#pragma once

#include <cstddef>
#include <string_view>

#include "simulate/big_endian.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

// A name field of `width` bytes the way acquisition software leaves it: the name, a zero byte, then whatever
// the memory held before. Names are shorter than the field.
inline void putName(BigEndianBuffer& out, std::string_view name, std::size_t width, Random& random) {
  out.characters(name);
  out.byte(0);
  for (std::size_t i = name.size() + 1; i < width; ++i)
    out.byte(static_cast<std::uint8_t>(random.next() >> 56));
}

}  // namespace ctfmeg::simulate
