#pragma once

#include <cmath>
#include <cstddef>

namespace brindlemux::test {

inline constexpr double rate = 48000.0;       ///< Hz, of everything that is played and recorded
inline constexpr std::size_t second = 48000;  ///< in frames
inline constexpr double toleranceDb = 0.01;   ///< of a level

inline double decibels(double amplitude) { return 20.0 * std::log10(amplitude); }

}  // namespace brindlemux::test
