#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>

namespace brindlemux::test {

/// How well samples are a sine of a known frequency: the power of the sine that fits them best (in amplitude, phase and
/// offset) over the power of what is left, in decibels.
inline double sineSignalToNoise(std::span<const float> samples, double frequencyHz, double sampleRateHz) {
  // Least squares for a * sin + b * cos + c by elimination on the normal equations.
  std::array<std::array<double, 4>, 3> rows{};
  const auto basis = [&](std::size_t i) {
    const double phase = 2 * std::numbers::pi * frequencyHz * static_cast<double>(i) / sampleRateHz;
    return std::array<double, 3>{std::sin(phase), std::cos(phase), 1.0};
  };
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto values = basis(i);
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < 3; ++column) rows[row][column] += values[row] * values[column];
      rows[row][3] += values[row] * double{samples[i]};
    }
  }
  for (std::size_t pivot = 0; pivot < 3; ++pivot) {
    for (std::size_t row = 0; row < 3; ++row) {
      if (row == pivot) continue;
      const double factor = rows[row][pivot] / rows[pivot][pivot];
      for (std::size_t column = 0; column < 4; ++column) rows[row][column] -= factor * rows[pivot][column];
    }
  }
  double signal = 0;
  double noise = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto values = basis(i);
    const double sine = values[0] * rows[0][3] / rows[0][0] + values[1] * rows[1][3] / rows[1][1];
    const double rest = double{samples[i]} - sine - rows[2][3] / rows[2][2];
    signal += sine * sine;
    noise += rest * rest;
  }
  return 10 * std::log10(signal / noise);
}

}  // namespace brindlemux::test
