#include "simulate/compensation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "simulate/environment.h"

namespace ctfmeg::simulate {

namespace {

constexpr std::size_t kMaxRecords = std::numeric_limits<std::int16_t>::max();

struct Scheme {
  std::string_view name;
  std::vector<std::string_view> blocks;  // beginnings of the names of the references it uses
  bool forReferences;                    // reference gradiometers are compensated, too
};

std::vector<Scheme> schemes() {
  return {{"G1BR", {"BG"}, true}, {"G2BR", {"BG", "G"}, false}, {"G3BR", {"BG", "G", "P", "Q", "R"}, false}};
}

bool isReference(const Channel& channel) {
  return channel.type == SensorType::referenceMagnetometer ||
         channel.type == SensorType::referenceGradiometer;
}

bool isCompensated(const Channel& channel, const Scheme& scheme) {
  return channel.type == SensorType::gradiometer ||
         (scheme.forReferences && channel.type == SensorType::referenceGradiometer);
}

std::vector<const Channel*> referencesOf(const Scheme& scheme, const std::vector<Channel>& channels) {
  std::vector<const Channel*> references;
  for (const Channel& channel : channels) {
    const auto begins = [&channel](std::string_view block) { return channel.name.starts_with(block); };
    if (isReference(channel) && std::any_of(scheme.blocks.begin(), scheme.blocks.end(), begins))
      references.push_back(&channel);
  }
  return references;
}

/// Dipoles at several distances, in pairs on opposite sides, of each pair one along each axis.
std::vector<DistantDipole> dipolesAround() {
  // Half of the corners and of the middles of the faces and edges of a cube.
  constexpr std::array<Vector3, 13> kDirections{{{1, 0, 0},
                                                 {0, 1, 0},
                                                 {0, 0, 1},
                                                 {1, 1, 0},
                                                 {1, -1, 0},
                                                 {1, 0, 1},
                                                 {1, 0, -1},
                                                 {0, 1, 1},
                                                 {0, 1, -1},
                                                 {1, 1, 1},
                                                 {1, 1, -1},
                                                 {1, -1, 1},
                                                 {1, -1, -1}}};
  constexpr std::array<double, 4> kMetres{4, 8, 15, 30};
  constexpr std::array<Vector3, 3> kAxes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  std::vector<DistantDipole> dipoles;
  for (const Vector3& direction : kDirections)
    for (const double metres : kMetres)
      for (const double side : {1.0, -1.0})
        for (const Vector3& axis : kAxes)
          dipoles.push_back({side * metres * unit(direction), axis});
  return dipoles;
}

/// What a channel shows of each, with moments that make a gradient of about 1 tesla per metre at the head: to
/// a gradiometer near and far sources matter alike.
std::vector<double> shownBy(const Channel& channel, const std::vector<DistantDipole>& dipoles) {
  constexpr double kMu0Over4Pi = 1e-7;
  std::vector<double> shown;
  shown.reserve(dipoles.size());
  for (const DistantDipole& dipole : dipoles) {
    const double metres = norm(dipole.positionM);
    const double moment = metres * metres * metres * metres / (3 * kMu0Over4Pi);
    shown.push_back(moment * shownOf(dipole, channel));
  }
  return shown;
}

double product(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    sum += a[i] * b[i];
  return sum;
}

/// Finds the references' weights for one signal after another. Plain operations in a fixed order, and so the
/// same bits on every system.
class LeastSquares {
 public:
  /// `noise`: of each reference, beside what it shows.
  LeastSquares(std::vector<std::vector<double>> references, double noise)
      : m_references(std::move(references)), m_factor(m_references.size()) {
    // Cholesky's factorisation of the references' products.
    for (std::size_t row = 0; row < m_factor.size(); ++row) {
      m_factor[row].resize(row + 1);
      for (std::size_t column = 0; column <= row; ++column) {
        double sum = product(m_references[row], m_references[column]);
        if (row == column) sum += noise * noise * static_cast<double>(m_references[row].size());
        for (std::size_t k = 0; k < column; ++k)
          sum -= m_factor[row][k] * m_factor[column][k];
        m_factor[row][column] = row == column ? std::sqrt(sum) : sum / m_factor[column][column];
      }
    }
  }

  std::vector<double> weightsFor(const std::vector<double>& signal) const {
    const std::size_t size = m_factor.size();
    std::vector<double> weights(size);
    for (std::size_t row = 0; row < size; ++row) {
      double sum = product(m_references[row], signal);
      for (std::size_t k = 0; k < row; ++k)
        sum -= m_factor[row][k] * weights[k];
      weights[row] = sum / m_factor[row][row];
    }
    for (std::size_t row = size; row-- > 0;) {
      for (std::size_t k = row + 1; k < size; ++k)
        weights[row] -= m_factor[k][row] * weights[k];
      weights[row] /= m_factor[row][row];
    }
    return weights;
  }

 private:
  std::vector<std::vector<double>> m_references;
  std::vector<std::vector<double>> m_factor;  // its lower triangle
};

/// To about six digits, as such files have them.
double rounded(double weight) {
  constexpr double kSteps = 0x1p20;
  return std::floor(weight * kSteps + 0.5) / kSteps;
}

}  // namespace

std::vector<Compensation> chooseCompensations(const std::vector<Channel>& channels) {
  constexpr double kReferenceNoise = 7e-4;  // tesla
  const std::vector<DistantDipole> dipoles = dipolesAround();
  std::vector<Compensation> chosen;
  for (const Scheme& scheme : schemes()) {
    const std::vector<const Channel*> references = referencesOf(scheme, channels);
    if (references.empty()) continue;
    std::vector<std::vector<double>> shown;
    shown.reserve(references.size());
    for (const Channel* reference : references)
      shown.push_back(shownBy(*reference, dipoles));
    const LeastSquares fit(std::move(shown), kReferenceNoise);
    for (const Channel& channel : channels) {
      if (chosen.size() == kMaxRecords) return chosen;
      if (!isCompensated(channel, scheme)) continue;
      const std::vector<double> weights = fit.weightsFor(shownBy(channel, dipoles));
      Compensation compensation{channel.name, scheme.name, {}};
      for (std::size_t i = 0; i < weights.size(); ++i)
        compensation.references.push_back(
            {references[i]->name, rounded(weights[i] * channel.properGain / references[i]->properGain)});
      chosen.push_back(std::move(compensation));
    }
  }
  return chosen;
}

}  // namespace ctfmeg::simulate
