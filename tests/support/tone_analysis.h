#pragma once

#include <span>

#include "support/sine_tone.h"  // what is analysed

namespace brindlemux::test {

/// The amplitude of the tone of that frequency in the signal: the sinusoid (of any phase) and offset that fit best in
/// the sense of least squares, weighted by a Blackman-Harris window.
///
/// Exact to the rounding of the samples for a lone tone of any phase; another tone at least 8 periods per signal length
/// away disturbs it by less than 1 part in 20000 of the other's amplitude. The signal holds some periods of the tone.
double toneAmplitude(std::span<const float> signal, double frequencyHz, double sampleRateHz);

/// The same in decibels, 0 dB being amplitude 1; minus infinity for silence.
double toneLevelDb(std::span<const float> signal, double frequencyHz, double sampleRateHz);

}  // namespace brindlemux::test
