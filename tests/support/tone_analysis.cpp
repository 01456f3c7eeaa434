#include "support/tone_analysis.h"

#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace brindlemux::test {
namespace {

constexpr double fullCircle = 2.0 * std::numbers::pi;
constexpr std::size_t unknowns = 3;

// The four-term Blackman-Harris window, with side lobes below -92 dB.
double windowAt(std::size_t index, std::size_t length) {
  const double phase = fullCircle * (static_cast<double>(index) + 0.5) / static_cast<double>(length);
  return 0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2 * phase) - 0.01168 * std::cos(3 * phase);
}

using Equations = std::array<std::array<double, unknowns + 1>, unknowns>;

// Gauss elimination with pivoting; an unknown that nothing determines is 0.
std::array<double, unknowns> solve(Equations rows) {
  for (std::size_t column = 0; column < unknowns; ++column) {
    std::size_t best = column;
    for (std::size_t row = column + 1; row < unknowns; ++row) {
      if (std::abs(rows[row][column]) > std::abs(rows[best][column])) best = row;
    }
    std::swap(rows[column], rows[best]);
    if (rows[column][column] == 0) continue;
    for (std::size_t row = 0; row < unknowns; ++row) {
      if (row == column) continue;
      const double factor = rows[row][column] / rows[column][column];
      for (std::size_t k = column; k <= unknowns; ++k) rows[row][k] -= factor * rows[column][k];
    }
  }
  std::array<double, unknowns> solution = {};
  for (std::size_t i = 0; i < unknowns; ++i) {
    if (rows[i][i] != 0) solution[i] = rows[i][unknowns] / rows[i][i];
  }
  return solution;
}

}  // namespace

double toneAmplitude(std::span<const float> signal, double frequencyHz, double sampleRateHz) {
  Equations normal = {};
  for (std::size_t frame = 0; frame < signal.size(); ++frame) {
    const double phase = fullCircle * frequencyHz * static_cast<double>(frame) / sampleRateHz;
    const std::array<double, unknowns + 1> terms = {std::cos(phase), std::sin(phase), 1.0,
                                                    static_cast<double>(signal[frame])};
    const double weight = windowAt(frame, signal.size());
    for (std::size_t row = 0; row < unknowns; ++row) {
      for (std::size_t column = 0; column <= unknowns; ++column) {
        normal[row][column] += weight * terms[row] * terms[column];
      }
    }
  }
  const auto [cosine, sine, offset] = solve(normal);
  return std::hypot(cosine, sine);
}

double toneLevelDb(std::span<const float> signal, double frequencyHz, double sampleRateHz) {
  return 20.0 * std::log10(toneAmplitude(signal, frequencyHz, sampleRateHz));
}

}  // namespace brindlemux::test
