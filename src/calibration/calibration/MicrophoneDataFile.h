// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <base/Date.h>
#include <level/MicCorrectionProfile.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmor {

/// What is wrong with a microphone's data file, with the line where it is.
class MicrophoneDataError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The frequency response that a measurement microphone comes with: a line for each frequency with the gain
/// there, and a phase that is not used.
struct MicrophoneData
{
    struct Point
    {
        double frequency = 0; ///< Hertz.
        double gainDB = 0;    ///< Of the microphone, relative to 1 kHz in most files.

        bool operator==(const Point&) const = default;
    };

    std::vector<Point> points; ///< By ascending frequency; at least two.
    std::optional<double>
        sensFactorDB; ///< From a line with "Sens Factor"; for people, nothing is made of it.

    bool operator==(const MicrophoneData&) const = default;
};

/// Reads the text of such a file. Columns are parted by commas, semicolons, tabs or blanks; a comma that
/// stands beside tabs or semicolons is a decimal one. Lines that begin with no number are comments.
/// \throws MicrophoneDataError
MicrophoneData parseMicrophoneData(std::string_view text);

/// Reads the file. \throws MicrophoneDataError also where it can't be read or has more than a megabyte.
MicrophoneData readMicrophoneData(const std::string& path);

/// The correction of that response relative to 1 kHz: its inverse, limited and faded out as a measured one
/// is, but not smoothed. At 1 kHz the filter changes nothing, so that a calibration at 1 kHz stands. The taps
/// lie around the middle of the impulse response. \param sampleRate hertz. \param now becomes the date of the
/// measurement.
MicCorrectionProfile correctionOf(const MicrophoneData& data, double sampleRate, Date now);

} // namespace velmor
