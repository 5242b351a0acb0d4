#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulate/channels.h"

namespace ctfmeg::simulate {

/// How a gradiometer is made blind to distant sources by subtracting references: "G1BR" for first, "G2BR"
/// second and "G3BR" third order. In units of flux, phi = raw / (qGain x ioGain), what remains is
/// phi - sum over the references of weight x phi of the reference.
struct Compensation {
  struct Reference {
    std::string name;
    double weight = 0;
  };
  std::string sensor;
  std::string_view scheme;
  std::vector<Reference> references;
};

/// First order for every helmet and reference gradiometer, second and third for the helmet's, in this order.
/// Without references there are none. The file counts them in 16 bits: what exceeds 32767 is dropped from the
/// end, so a huge helmet loses its third order first.
///
/// The weights are those that leave least of the fields of distant dipoles in all directions and of the
/// references' own noise (least squares). First order takes magnetometers only: what it removes is what a
/// gradiometer shows of an even field because its coils are not exactly parallel.
std::vector<Compensation> chooseCompensations(const std::vector<Channel>& channels);

}  // namespace ctfmeg::simulate
