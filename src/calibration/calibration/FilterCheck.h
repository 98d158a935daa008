// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <level/MicCorrectionProfile.h>
#include <level/MicFrequencyCorrection.h>

#include <span>

namespace velmor {

/// Where levels are calibrated, Hz.
inline constexpr double calibrationFrequency = 1000.0;

/// Gain of a filter at a frequency, dB, not below -200; 0 without taps, where nothing is filtered.
/// \param sampleRate and frequency hertz.
double filterGainDB(std::span<const float> taps, double sampleRate, double frequency);

/// The curve at a frequency, dB: on straight lines between its points over the logarithm of frequency, and
/// beyond its ends as at them. 0 for a curve without points. \param curve by ascending frequency.
double curveGainDB(std::span<const FrequencyCurvePoint> curve, double frequency);

/// How far the profile's filter is from the curve that it is shown with: the largest difference, dB, at the
/// curve's points and at 1 kHz, where levels are calibrated. A filter of few taps can't follow every curve,
/// and one that falls short would make each level, and the dose, too low.
double filterDeparture(const MicCorrectionProfile& profile);

/// What the correction does to a level at that frequency, dB, when the input is captured at that rate: 0
/// while it is off, and at any other rate than its own. \param sampleRate and frequency hertz.
double correctionGainDB(const MicFrequencyCorrection& correction, double sampleRate, double frequency);

/// A departure beyond this many dB is worth telling.
inline constexpr double largestFilterDeparture = 1.0;

} // namespace velmor
