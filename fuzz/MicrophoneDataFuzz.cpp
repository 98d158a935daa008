// SPDX-License-Identifier: GPL-3.0-or-later
// A microphone's data file: it is either refused, or makes a correction that is finite and changes nothing at
// 1 kHz.
#include <calibration/FilterCheck.h>
#include <calibration/MicrophoneDataFile.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace velmor;
    try {
        const auto parsed = parseMicrophoneData({reinterpret_cast<const char*>(data), size});
        const auto profile = correctionOf(parsed, 48000, Date());
        for (const float tap : profile.taps) {
            if (!std::isfinite(tap))
                std::abort();
        }
        for (const FrequencyCurvePoint& point : profile.correctionCurve) {
            if (!(std::abs(point.gainDB) < 9.001F))
                std::abort();
        }
        if (!(std::abs(filterGainDB(profile.taps, 48000, 1000)) < 0.01))
            std::abort();
    } catch (const MicrophoneDataError&) {
    }
    return 0;
}
