#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulate/big_endian.h"
#include "simulate/channel.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

// How far a gradiometer is made blind to distant sources by subtracting references: "G1BR" for first, "G2BR"
// second and "G3BR" third order.
struct Compensation {
  std::string sensor;
  std::string_view scheme;
  std::vector<std::string> references;
};

// First order for every helmet and reference gradiometer, second and third for the helmet's, in this order.
// Without references there are none. The file counts them in 16 bits: what exceeds 32767 is dropped from the
// end, so a huge helmet loses its third order first.
std::vector<Compensation> chooseCompensations(const std::vector<Channel>& channels);

// One coefficient record, with small weights drawn from `random`.
BigEndianBuffer encodeCompensation(const Compensation& compensation, Random& random);

}  // namespace ctfmeg::simulate
