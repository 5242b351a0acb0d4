#pragma once

namespace ctfmeg::simulate {

inline constexpr double kMu0Over4Pi = 1e-7;  // tesla metre per ampere

}  // namespace ctfmeg::simulate
