// SPDX-License-Identifier: GPL-3.0-or-later
#include <calibration/FilterCheck.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <iterator>
#include <numbers>

namespace velmor {

namespace {

constexpr double smallestMagnitude = 1e-10;
constexpr double largestDeparture = 200.0;

/// Stored profiles may hold any numbers, and any number of them: what is beyond this is not worked out.
constexpr std::size_t mostTaps = 16384;
constexpr std::size_t mostWork = 1000000;

} // namespace

double filterGainDB(std::span<const float> taps, double sampleRate, double frequency)
{
    if (taps.empty())
        return 0;
    if (!(sampleRate > 0) || taps.size() > mostTaps)
        return 20 * std::log10(smallestMagnitude);
    std::complex<double> response;
    for (std::size_t p = 0; p < taps.size(); ++p) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(p) / sampleRate;
        response += static_cast<double>(taps[p]) * std::polar(1.0, phase);
    }
    return 20 * std::log10(std::max(std::abs(response), smallestMagnitude));
}

double curveGainDB(std::span<const FrequencyCurvePoint> curve, double frequency)
{
    if (curve.empty())
        return 0;
    const auto above = std::ranges::upper_bound(curve, frequency, {}, [](const FrequencyCurvePoint& point) {
        return static_cast<double>(point.frequency);
    });
    if (above == curve.begin() || above == curve.end())
        return static_cast<double>((above == curve.end() ? curve.back() : curve.front()).gainDB);
    const FrequencyCurvePoint& low = *std::prev(above);
    const double lowFrequency = static_cast<double>(low.frequency);
    const double share =
        std::log(frequency / lowFrequency) / std::log(static_cast<double>(above->frequency) / lowFrequency);
    return std::lerp(static_cast<double>(low.gainDB), static_cast<double>(above->gainDB), share);
}

double filterDeparture(const MicCorrectionProfile& profile)
{
    if (profile.taps.size() * (profile.correctionCurve.size() + 1) > mostWork)
        return largestDeparture;
    const auto departureAt = [&](double frequency, double wanted) {
        const double departure = std::abs(filterGainDB(profile.taps, profile.sampleRate, frequency) - wanted);
        return std::isfinite(departure) ? departure : largestDeparture;
    };
    double largest =
        departureAt(calibrationFrequency, curveGainDB(profile.correctionCurve, calibrationFrequency));
    for (const FrequencyCurvePoint& point : profile.correctionCurve)
        largest = std::max(
            largest, departureAt(static_cast<double>(point.frequency), static_cast<double>(point.gainDB)));
    return largest;
}

double correctionGainDB(const MicFrequencyCorrection& correction, double sampleRate, double frequency)
{
    const auto& profile = correction.profile.get();
    if (!correction.isEnabled || !profile || profile->sampleRate != sampleRate)
        return 0;
    return filterGainDB(profile->taps, sampleRate, frequency);
}

} // namespace velmor
